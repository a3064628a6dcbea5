// SDL2_mixer behind the program's audio output, built as a module of its own: the program loads it
// at the first sound, so that SDL and its codecs (some forty libraries) cost the start-up nothing.
#include "actions/audio.h"

#include <SDL.h>
#include <SDL_mixer.h>

#include <cmath>
#include <list>
#include <utility>
#include <vector>

namespace quenix {
namespace {

constexpr int kRate = 44100;
constexpr int kBeepChannel = 0; // reserved: sounds never take it

// The device is opened at the first sound, not at start: probing the audio stack costs the
// program's start-up 50 to 100 ms, and an open stream keeps a mixing thread awake while idle.
class SdlAudio final : public AudioOutput {
public:
    SdlAudio() = default;

    ~SdlAudio() override {
        if (open_) close();
    }
    SdlAudio(const SdlAudio&) = delete;
    SdlAudio& operator=(const SdlAudio&) = delete;

    bool playWav(const std::string& path) override {
        if (!open()) return false;
        reap();
        Mix_Chunk* chunk = Mix_LoadWAV(path.c_str());
        if (!chunk) return false;
        int channel = Mix_PlayChannel(-1, chunk, 0);
        if (channel < 0) {
            Mix_FreeChunk(chunk);
            return false;
        }
        playing_.emplace_back(channel, chunk);
        return true;
    }

    bool playMp3(const std::string& path) override {
        if (!open()) return false;
        // The one mp3 channel: the next file always ends the previous one.
        Mix_HaltMusic();
        if (music_) Mix_FreeMusic(music_);
        music_ = Mix_LoadMUS(path.c_str());
        if (!music_) return false;
        return Mix_PlayMusic(music_, 1) == 0;
    }

    void beep(int hz, int ms) override {
        if (ms <= 0) return;
        if (hz <= 0 || !open()) {
            SDL_Delay(static_cast<Uint32>(ms));
            return;
        }
        std::size_t frames = static_cast<std::size_t>(rate_) * static_cast<std::size_t>(ms) / 1000;
        std::vector<Sint16> samples(frames * static_cast<std::size_t>(channels_));
        const double step = 2.0 * M_PI * hz / rate_;
        for (std::size_t f = 0; f < frames; ++f) {
            auto v = static_cast<Sint16>(12000.0 * std::sin(step * static_cast<double>(f)));
            for (int c = 0; c < channels_; ++c) samples[f * static_cast<std::size_t>(channels_) + static_cast<std::size_t>(c)] = v;
        }
        Mix_Chunk* chunk = Mix_QuickLoad_RAW(reinterpret_cast<Uint8*>(samples.data()),
                                             static_cast<Uint32>(samples.size() * sizeof(Sint16)));
        if (!chunk) {
            SDL_Delay(static_cast<Uint32>(ms));
            return;
        }
        Uint32 start = SDL_GetTicks();
        Mix_PlayChannel(kBeepChannel, chunk, 0);
        SDL_Delay(static_cast<Uint32>(ms));
        // The device may lag a buffer behind; wait for the tone to finish, within reason.
        while (Mix_Playing(kBeepChannel) && SDL_GetTicks() - start < static_cast<Uint32>(ms) + 500) SDL_Delay(2);
        Mix_HaltChannel(kBeepChannel);
        Mix_FreeChunk(chunk);
    }

private:
    // Opens the device once; a device that failed is not tried again.
    bool open() {
        if (tried_) return open_;
        tried_ = true;
        // The program ends on SIGTERM through its own handler; SDL must not take the signal.
        SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
        if (SDL_InitSubSystem(SDL_INIT_AUDIO) != 0) return false;
        if (Mix_OpenAudio(kRate, AUDIO_S16SYS, 2, 1024) != 0) {
            SDL_QuitSubSystem(SDL_INIT_AUDIO);
            return false;
        }
        Uint16 format = 0;
        Mix_QuerySpec(&rate_, &format, &channels_);
        Mix_AllocateChannels(16);
        Mix_ReserveChannels(1);
        open_ = format == AUDIO_S16SYS;
        if (!open_) close();
        return open_;
    }

    // Frees the wav chunks whose channel has finished (or moved on to another sound).
    void reap() {
        for (auto it = playing_.begin(); it != playing_.end();) {
            if (!Mix_Playing(it->first) || Mix_GetChunk(it->first) != it->second) {
                Mix_FreeChunk(it->second);
                it = playing_.erase(it);
            } else {
                ++it;
            }
        }
    }

    void close() {
        Mix_HaltChannel(-1);
        Mix_HaltMusic();
        for (auto& p : playing_) Mix_FreeChunk(p.second);
        playing_.clear();
        if (music_) Mix_FreeMusic(music_);
        music_ = nullptr;
        Mix_CloseAudio();
        SDL_QuitSubSystem(SDL_INIT_AUDIO);
        open_ = false;
    }

    bool tried_ = false;
    bool open_ = false;
    int rate_ = kRate;
    int channels_ = 2;
    std::list<std::pair<int, Mix_Chunk*>> playing_;
    Mix_Music* music_ = nullptr;
};

} // namespace
} // namespace quenix

extern "C" __attribute__((visibility("default"))) quenix::AudioOutput* QuenixMakeSdlAudio() {
    return new quenix::SdlAudio();
}
