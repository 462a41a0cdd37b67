#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Fixtures/Child.h"
#include "Fixtures/TemporaryFolder.h"

namespace tavrin::test {

/// A home of its own for whatever the test's process looks up there, sound servers above all: nothing of the
/// machine's user is found or written. Ends with the object.
class PrivateHome {
public:
    PrivateHome();
    ~PrivateHome();
    PrivateHome(const PrivateHome&) = delete;
    PrivateHome& operator=(const PrivateHome&) = delete;

    /// Where a client looks for a Pulse server.
    [[nodiscard]] std::string pulseSocket() const { return folder_ / "pulse/native"; }

private:
    TemporaryFolder folder_;
    std::map<std::string, std::optional<std::string>> earlier_;
};

/// A PulseAudio server of a home. It has a sink, whose monitor so exists, and the given modules.
class PulseServer {
public:
    /// Returns when the server accepts connections.
    /// @param modules  with their arguments, as in "module-null-source source_name=desk"
    explicit PulseServer(const PrivateHome& home, const std::vector<std::string>& modules = {});

    void signal(int number) const { process_.signal(number); }

private:
    Child process_;
};

/// In place of a server of a home: accepts every connection and never says a word.
class SilentPulseServer {
public:
    explicit SilentPulseServer(const PrivateHome& home);
    ~SilentPulseServer();
    SilentPulseServer(const SilentPulseServer&) = delete;
    SilentPulseServer& operator=(const SilentPulseServer&) = delete;

private:
    int listener_;
};

} // namespace tavrin::test
