#include "actions/audio.h"

#include <windows.h>
#include <mmsystem.h>

#include <string>

// winmm exports it, but the MinGW headers do not declare it.
extern "C" BOOL WINAPI mciExecute(LPCSTR command);

namespace quenix {
namespace {

// The media control interface: wav files by command-string execution, mp3 files through
// one alias that each new mp3 closes first. MCI results are not examined.
class MciAudio final : public AudioOutput {
public:
    bool playWav(const std::string& path) override {
        std::string command = "play " + path;
        mciExecute(command.c_str());
        return true;
    }

    bool playMp3(const std::string& path) override {
        char shortName[MAX_PATH] = {};
        DWORD n = GetShortPathNameA(path.c_str(), shortName, MAX_PATH);
        std::string name = n > 0 && n < MAX_PATH ? std::string(shortName, n) : path;
        mciSendStringA("close Mp3", nullptr, 0, nullptr);
        mciSendStringA(("open " + name + " alias Mp3").c_str(), nullptr, 0, nullptr);
        mciSendStringA("play Mp3", nullptr, 0, nullptr);
        return true;
    }

    void beep(int hz, int ms) override {
        if (ms > 0) Beep(static_cast<DWORD>(hz), static_cast<DWORD>(ms));
    }
};

} // namespace

std::unique_ptr<AudioOutput> MakeSystemAudio(const std::string&) { return std::make_unique<MciAudio>(); }

} // namespace quenix
