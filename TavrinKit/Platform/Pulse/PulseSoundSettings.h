#pragma once

#include <string>

#include "TavrinKit/Capture/CaptureTypes.h"

namespace tavrin {

/// What to record of a Pulse server.
struct PulseSoundSettings {
    enum class Kind {
        speakers,     ///< what the default output plays
        applications, ///< what all applications play that the exclusion doesn't name
        microphone,
    };
    std::string server; ///< empty: the one that the user's environment names
    Kind kind = Kind::speakers;
    std::string source; ///< a microphone by name; empty: the default
    int sampleRate = 48000;
    int channels = 2;
    CaptureApplicationExclusionRule exclusion;
    std::string warningPrefix = "system_audio"; ///< of "…_interrupted:2.4" and its like
    double startPatience = 2.5;                 ///< seconds for a server to answer at the start
};

} // namespace tavrin
