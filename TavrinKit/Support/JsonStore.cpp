#include "TavrinKit/Support/JsonStore.h"

#include <exception>
#include <utility>

#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

/// What it unfolds to must fit into memory; a thousand records take some MiB.
constexpr std::size_t maximumStoreSize = std::size_t(64) << 20;

/// What became of the file's text: JSON, or why it is none.
struct Parsed {
    std::size_t byteCount = 0;
    Json json;
    std::exception_ptr failure;
};

/// Nothing for a file that is missing or empty.
std::optional<Parsed> parseStore(const fs::path& path) {
    Parsed parsed;
    try {
        FileInput file(path);
        parsed.byteCount = file.size();
        if (parsed.byteCount == 0) {
            return std::nullopt;
        }
        if (parsed.byteCount > maximumStoreSize) {
            throw JsonError(JsonErrorKind::malformed, "The file is too large for settings.");
        }
        parsed.json = parseJson(readAll(file));
    } catch (const FileError& error) {
        if (error.kind() == FileErrorKind::notFound) {
            return std::nullopt;
        }
        throw;
    } catch (const JsonError&) {
        parsed.failure = std::current_exception();
    }
    return parsed;
}

} // namespace

JsonStore::JsonStore(std::string service, fs::path fileURL, QuarantineName quarantineName)
    : service_(std::move(service)), fileURL_(std::move(fileURL)), quarantineName_(std::move(quarantineName)) {
    if (!quarantineName_) {
        quarantineName_ = [stem = fileURL_.stem().string()](Date now) {
            return stem + ".corrupt-" + timestampLabel(now) + ".json";
        };
    }
}

void JsonStore::readFirst(const std::vector<Attempt>& attempts, Date now) const {
    const std::optional<Parsed> parsed = parseStore(fileURL_);
    if (!parsed) {
        return;
    }
    std::vector<std::exception_ptr> failures;
    for (const Attempt& attempt : attempts) {
        try {
            if (parsed->failure) {
                std::rethrow_exception(parsed->failure);
            }
            attempt.decode(parsed->json);
            return;
        } catch (const JsonError&) {
            failures.push_back(std::current_exception());
        }
    }
    for (std::size_t i = 0; i < attempts.size(); ++i) {
        LogMetadata metadata{{"storePath", fileURL_.string()}};
        if (attempts[i].logsByteCount) {
            metadata["byteCount"] = std::to_string(parsed->byteCount);
        }
        logRecoverableFailure(service_, attempts[i].context, failures[i], std::move(metadata));
    }
    quarantineCorruptStore(now);
}

void JsonStore::quarantineCorruptStore(Date now) const {
    try {
        copyFile(fileURL_, fileURL_.parent_path() / quarantineName_(now));
    } catch (const FileError&) {
        logRecoverableFailure(service_, "quarantineCorruptStore", std::current_exception());
    }
}

void JsonStore::writeText(std::string_view text) const {
    createDirectories(fileURL_.parent_path());
    writeFileAtomically(fileURL_, text);
}

} // namespace tavrin
