#include "actions/audio.h"

#include <chrono>
#include <dlfcn.h>
#include <thread>

namespace quenix {
namespace {

// The SDL2_mixer output lives in a module beside the capture library and is loaded at the
// first sound (see sdl/sdl_audio.cpp). Without it sounds fail and beeps only take their time.
class LazyAudio final : public AudioOutput {
public:
    explicit LazyAudio(std::string folder) : folder_(std::move(folder)) {}

    bool playWav(const std::string& path) override { return output() && output()->playWav(path); }
    bool playMp3(const std::string& path) override { return output() && output()->playMp3(path); }
    void beep(int hz, int ms) override {
        if (output()) {
            output()->beep(hz, ms);
        } else if (ms > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(ms));
        }
    }

private:
    AudioOutput* output() {
        if (tried_) return real_.get();
        tried_ = true;
        // Never unloaded: SDL keeps threads of its own until the process ends.
        void* module = ::dlopen((folder_ + "/libquenix-sdl-audio.so").c_str(), RTLD_NOW | RTLD_LOCAL);
        using Make = AudioOutput* (*)();
        if (auto make = module ? reinterpret_cast<Make>(::dlsym(module, "QuenixMakeSdlAudio")) : nullptr)
            real_.reset(make());
        return real_.get();
    }

    std::string folder_;
    bool tried_ = false;
    std::unique_ptr<AudioOutput> real_;
};

} // namespace

std::unique_ptr<AudioOutput> MakeSystemAudio(const std::string& moduleFolder) {
    return std::make_unique<LazyAudio>(moduleFolder);
}

} // namespace quenix
