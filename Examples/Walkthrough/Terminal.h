#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tavrin::demo {

/// How far a stage has come: one line that is written over on a terminal, a line for every tenth elsewhere.
class ProgressLine {
public:
    explicit ProgressLine(std::string title);
    ~ProgressLine(); ///< ends the line

    /// @param fraction  0...1
    void show(double fraction);

private:
    const std::string title_;
    const bool terminal_;
    int shown_ = -1; ///< per cent, or tenths where nothing is written over
    bool open_ = false;
};

/// Prints names and values in two columns.
void printTable(const std::vector<std::pair<std::string, std::string>>& rows);

} // namespace tavrin::demo
