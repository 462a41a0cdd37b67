#pragma once

#include <filesystem>
#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "TavrinKit/Support/Date.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// A form that a stored document has, or had in older versions.
template <typename Document>
struct StoredForm {
    std::string_view context; ///< names its decoding in the log
    Document (*decode)(const Json& json);
    bool logsByteCount = true;
};

/// One file of user settings, read and written as all stores do it: JSON, replaced whole, and a damaged file
/// costs the settings in it but is never in the user's way.
///
/// No state besides the file's place. Calls on one file go one at a time; the service that owns it sees to
/// that.
class JsonStore {
public:
    /// The name of the copy of a damaged file, in the store's folder.
    using QuarantineName = std::function<std::string(Date)>;

    /// @param service  "TavrinKit." and the name of the service, for log lines
    /// @param quarantineName  by default the file's own name with ".corrupt-{timestamp}.json" in place of its
    ///                        extension, the time in the current time zone
    JsonStore(std::string service, std::filesystem::path fileURL, QuarantineName quarantineName = {});

    [[nodiscard]] const std::filesystem::path& fileURL() const { return fileURL_; }

    /// The document in the first form that fits. A file that is missing or empty holds none; a file that fits
    /// no form is told in the log, form by form, and copied aside, and then counts as missing. It stays where
    /// it is until the next write.
    /// @param now  stamps the copy
    /// @throws FileError when the file is there and can't be read
    template <typename Document>
    [[nodiscard]] std::optional<Document> read(std::initializer_list<StoredForm<Document>> forms,
                                               Date now) const {
        std::optional<Document> document;
        std::vector<Attempt> attempts;
        for (const StoredForm<Document>& form : forms) {
            attempts.push_back(
                {form.context, form.logsByteCount, [&document, decode = form.decode](const Json& json) {
                     document = decode(json);
                 }});
        }
        readFirst(attempts, now);
        return document;
    }

    /// Creates the folder where it is missing.
    /// @throws FileError, JsonError; the old file is then as it was
    template <typename Document>
    void write(const Document& document) const {
        writeText(encodeDocument(document));
    }

private:
    struct Attempt {
        std::string_view context;
        bool logsByteCount;
        std::function<void(const Json&)> decode;
    };

    void readFirst(const std::vector<Attempt>& attempts, Date now) const;
    void writeText(std::string_view text) const;
    void quarantineCorruptStore(Date now) const;

    std::string service_;
    std::filesystem::path fileURL_;
    QuarantineName quarantineName_;
};

/// For `StoredForm::decode` where the form is that of a type itself.
template <typename T>
[[nodiscard]] T decodedFrom(const Json& json) {
    T value{};
    decode(json, value);
    return value;
}

} // namespace tavrin
