#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace tavrin::test {

/// What programs ask of files, as bits.
enum FileCall : unsigned {
    openCall = 1U << 0,   ///< of what is there
    createCall = 1U << 1, ///< opening with leave to create
    readCall = 1U << 2,
    writeCall = 1U << 3,
    flushCall = 1U << 4,
    closeCall = 1U << 5,
    renameCall = 1U << 6,
    linkCall = 1U << 7,
    removeCall = 1U << 8,
    makeFolderCall = 1U << 9,
    lookCall = 1U << 10,   ///< stat and its kin, seeking, listing a folder
    resizeCall = 1U << 11, ///< truncation and allocation
    allFileCalls = (1U << 12) - 1,
    /// What a full disk may refuse.
    spaceTakingCalls = createCall | writeCall | flushCall | linkCall | makeFolderCall | resizeCall,
};

enum class FaultKind {
    fail, ///< the call doesn't happen and gives `FaultPlan::error`
    kill, ///< the process is killed before the call
};

/// Which system call goes wrong, and how.
struct FaultPlan {
    std::filesystem::path below{}; ///< only calls on this folder and on what is in it count
    unsigned calls = allFileCalls; ///< only these count
    std::size_t at = 0;            ///< the fault meets this call, counted from 1; with 0 none
    FaultKind kind = FaultKind::fail;
    int error = 0;                  ///< an errno value, for `fail`
    bool isLasting = false;         ///< all later calls that count meet it too: a disk that stays full
    std::chrono::seconds limit{60}; ///< then the process is killed and counts as hanging
};

struct FaultedRun {
    std::size_t calls = 0;              ///< how many counted
    std::string victim;                 ///< the call that the fault met, as in "rename /a/b"; empty if none
    std::optional<std::string> result;  ///< what the body returned
    std::optional<std::string> escaped; ///< the sentence of an exception that left the body
    int signal = 0;                     ///< what ended the process
    bool isHanging = false;

    [[nodiscard]] bool wasMet() const { return !victim.empty(); }
};

/// Runs `body` in a process of its own whose system calls on files pass through this one, which lets one of
/// them go wrong. All threads of the body are watched, and all libraries; nothing needs to be built for it,
/// and no privileges. (A seccomp filter in the child hands its calls over to the parent.)
///
/// Call it while the test has no threads of its own: the child is a fork. What the body changes in memory
/// stays in the child; let it return what the test wants to know, as text. Nothing of the body is cleaned up
/// at its end.
[[nodiscard]] FaultedRun runWithFault(const FaultPlan& plan, const std::function<std::string()>& body);

/// Lets every call go wrong, one in each run: runs with `at` = 1, 2, 3, … until a run is over before its
/// fault.
///
///     const FaultPlan plan{.below = folder, .kind = FaultKind::kill};
///     const std::size_t faults = forEveryCall(plan, prepare, body, check);
///
/// @param prepare  puts things in order before each run
/// @param check    looks at what is left after each run that met its fault
/// @return how many runs met their fault
std::size_t forEveryCall(FaultPlan plan, const std::function<void()>& prepare,
                         const std::function<std::string()>& body,
                         const std::function<void(const FaultedRun&)>& check);

} // namespace tavrin::test
