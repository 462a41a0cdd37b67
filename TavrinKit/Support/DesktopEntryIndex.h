#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// The desktop files of the installed applications, by what their windows say of themselves.
///
/// The files are read when something is looked for the first time, and again when their folders have changed.
/// Files and folders that can't be read count as missing. Any thread.
class DesktopEntryIndex {
public:
    struct Entry {
        std::string identifier; ///< the file's name without ".desktop"; folders on the way to it end in "-"
        std::string name;       ///< in the user's language

        friend bool operator==(const Entry&, const Entry&) = default;
    };

    /// What a window says of its application; each may be empty.
    struct Hints {
        std::string desktopFile; ///< a path, or a file's name with or without ".desktop"
        std::string instanceName;
        std::string className;
    };

    /// @param folders  the first that has a file of some name hides those of the others
    explicit DesktopEntryIndex(std::vector<std::filesystem::path> folders = applicationFolders());

    /// By the file that is named, else by the class that files say their windows have, else by a file called
    /// like the class. Names of classes are compared whatever their case.
    [[nodiscard]] std::optional<Entry> find(const Hints& hints) const;

    /// The user's own, $XDG_DATA_HOME/applications, and then those of $XDG_DATA_DIRS.
    [[nodiscard]] static std::vector<std::filesystem::path> applicationFolders();

private:
    struct Contents {
        std::vector<std::filesystem::file_time_type> folderTimes;
        std::map<std::string, Entry> byFile;  ///< by the identifier in lower case; hidden ones have no name
        std::map<std::string, Entry> byClass; ///< by the class in lower case

        void addFolder(const std::filesystem::path& folder);
    };

    [[nodiscard]] std::shared_ptr<const Contents> current() const;

    const std::vector<std::filesystem::path> folders_;
    mutable Guarded<std::shared_ptr<const Contents>> contents_;
};

} // namespace tavrin
