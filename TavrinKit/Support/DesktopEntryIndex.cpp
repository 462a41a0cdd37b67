#include "TavrinKit/Support/DesktopEntryIndex.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <utility>

#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t largestFile = 1 << 20;
constexpr std::string_view extension = ".desktop";
/// A folder of folders of folders is somebody's mistake.
constexpr int deepestFolder = 4;

std::string environmentText(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

/// As in "de_AT@euro", the most exact one first.
std::vector<std::string> localeNames() {
    std::string locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        if (locale = environmentText(name); !locale.empty()) {
            break;
        }
    }
    const std::size_t at = locale.find('@');
    const std::string modifier = at == std::string::npos ? "" : locale.substr(at);
    locale = locale.substr(0, std::min(locale.find('.'), at));
    const std::string language = locale.substr(0, locale.find('_'));
    std::vector<std::string> names{locale + modifier, locale, language + modifier, language};
    std::erase_if(names, [](const std::string& name) { return name.empty() || name.front() == '@'; });
    return names;
}

std::string unescaped(std::string_view value) {
    std::string result;
    for (std::size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            result += value[i];
            continue;
        }
        switch (value[++i]) {
        case 's':
            result += ' ';
            break;
        case 'n':
            result += '\n';
            break;
        case 't':
            result += '\t';
            break;
        case 'r':
            result += '\r';
            break;
        default:
            result += value[i];
        }
    }
    return result;
}

using Keys = std::map<std::string, std::string, std::less<>>;

/// The keys of the group that describes the application.
Keys desktopEntryKeys(std::string_view text) {
    Keys keys;
    bool isInGroup = false;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string line = trimmed(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.starts_with('[')) {
            isInGroup = line == "[Desktop Entry]";
        } else if (const std::size_t sign = line.find('='); isInGroup && sign != std::string::npos) {
            keys.emplace(trimmed(std::string_view(line).substr(0, sign)),
                         unescaped(trimmed(std::string_view(line).substr(sign + 1))));
        }
    }
    return keys;
}

std::string valueOf(const Keys& keys, const std::string& key) {
    const auto found = keys.find(key);
    return found == keys.end() ? std::string() : found->second;
}

std::string localizedName(const Keys& keys) {
    for (const std::string& locale : localeNames()) {
        if (std::string name = valueOf(keys, "Name[" + locale + "]"); !name.empty()) {
            return name;
        }
    }
    return valueOf(keys, "Name");
}

std::string withoutExtension(std::string name) {
    if (name.ends_with(extension)) {
        name.resize(name.size() - extension.size());
    }
    return name;
}

std::vector<fs::file_time_type> timesOf(const std::vector<fs::path>& folders) {
    std::vector<fs::file_time_type> times;
    for (const fs::path& folder : folders) {
        std::error_code none;
        times.push_back(fs::last_write_time(folder, none));
    }
    return times;
}

} // namespace

DesktopEntryIndex::DesktopEntryIndex(std::vector<fs::path> folders) : folders_(std::move(folders)) {}

std::vector<fs::path> DesktopEntryIndex::applicationFolders() {
    std::string data = environmentText("XDG_DATA_HOME");
    if (data.empty()) {
        data = environmentText("HOME") + "/.local/share";
    }
    const std::string others = environmentText("XDG_DATA_DIRS");
    data += ':';
    data += others.empty() ? "/usr/local/share:/usr/share" : others;

    std::vector<fs::path> folders;
    while (!data.empty()) {
        const std::size_t end = std::min(data.find(':'), data.size());
        if (const fs::path folder = data.substr(0, end); folder.is_absolute()) {
            folders.push_back(folder / "applications");
        }
        data.erase(0, end + 1);
    }
    return folders;
}

std::optional<DesktopEntryIndex::Entry> DesktopEntryIndex::find(const Hints& hints) const {
    const std::shared_ptr<const Contents> contents = current();
    const auto in = [](const std::map<std::string, Entry>& map, const std::string& key) {
        const auto found = key.empty() ? map.end() : map.find(lowerCased(key));
        return found == map.end() || found->second.name.empty() ? std::optional<Entry>() : found->second;
    };
    if (auto entry = in(contents->byFile, withoutExtension(fs::path(hints.desktopFile).filename()))) {
        return entry;
    }
    for (const std::string& name : {hints.instanceName, hints.className}) {
        if (auto entry = in(contents->byClass, name)) {
            return entry;
        }
    }
    return in(contents->byFile, hints.className);
}

std::shared_ptr<const DesktopEntryIndex::Contents> DesktopEntryIndex::current() const {
    std::shared_ptr<const Contents> contents = contents_.copy();
    std::vector<fs::file_time_type> times = timesOf(folders_);
    if (contents && contents->folderTimes == times) {
        return contents;
    }
    auto read = std::make_shared<Contents>();
    read->folderTimes = std::move(times);
    for (const fs::path& folder : folders_) {
        read->addFolder(folder);
    }
    contents_.with([&](auto& kept) { kept = read; });
    return read;
}

void DesktopEntryIndex::Contents::addFolder(const fs::path& folder) {
    std::error_code error;
    for (fs::recursive_directory_iterator each(folder, fs::directory_options::skip_permission_denied, error);
         !error && each != fs::recursive_directory_iterator(); each.increment(error)) {
        if (each.depth() >= deepestFolder) {
            each.disable_recursion_pending();
        }
        if (each->path().extension() != extension) {
            continue;
        }
        std::string identifier = withoutExtension(each->path().lexically_relative(folder).generic_string());
        std::ranges::replace(identifier, '/', '-');
        const std::string key = lowerCased(identifier);
        if (byFile.contains(key)) {
            continue;
        }
        try {
            const Keys keys = desktopEntryKeys(readFile(each->path(), largestFile));
            const bool isHidden = valueOf(keys, "Hidden") == "true";
            const Entry entry{identifier, isHidden ? std::string() : wellFormed(localizedName(keys))};
            byFile.emplace(key, entry);
            if (const std::string windowClass = valueOf(keys, "StartupWMClass"); !windowClass.empty()) {
                byClass.emplace(lowerCased(windowClass), entry);
            }
        } catch (const FileError&) {
            continue; // one that can't be read is as good as none
        }
    }
}

} // namespace tavrin
