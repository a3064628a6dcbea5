#pragma once

// Sound files and the system's beeps, through one audio output.

#include "core/beeper.h"

#include <memory>
#include <string>

namespace quenix {

class SoundPlayer {
public:
    virtual ~SoundPlayer() = default;
    // Starts a wav file and returns at once; several may sound together.
    virtual bool playWav(const std::string& path) = 0;
    // Starts an mp3 file on the one mp3 channel, stopping the mp3 that was playing.
    virtual bool playMp3(const std::string& path) = 0;
};

// Beeps block for their length, like the Windows call; sounds do not.
class AudioOutput : public SoundPlayer, public Beeper {};

// SDL2_mixer on Linux (SDL_AUDIODRIVER picks the device), loaded from moduleFolder at the first
// sound; the media control interface and Beep on Windows. Without a usable device sounds fail
// quietly and beeps only take their time.
std::unique_ptr<AudioOutput> MakeSystemAudio(const std::string& moduleFolder);

} // namespace quenix
