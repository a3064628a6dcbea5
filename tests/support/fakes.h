#pragma once

// Test doubles for the seams of the core: a virtual clock, scripted dialogs, a recording view and
// beeper, and a temporary program folder. Header-only, so the benchmarks use them too.

#include "core/beeper.h"
#include "core/clock.h"
#include "core/dialogs.h"
#include "core/view.h"
#include "serpulse/pulse_engine.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <stdexcept>
#include <utility>

namespace quenix::testing {

// Time advances only when the code under test sleeps or waits, in milliseconds for the program
// and nanoseconds for the capture library.
class FakeClock final : public Clock, public serpulse::Timebase {
public:
    void sleep(int ms) override {
        sleeps.push_back(ms);
        ns_ += static_cast<std::int64_t>(ms) * 1'000'000;
    }
    std::int64_t nowMs() override { return ns_ / 1'000'000; }
    std::int64_t nowNs() override { return ns_; }
    void sleepNs(std::int64_t ns) override { ns_ += std::max<std::int64_t>(ns, 0); }
    void waitUntilNs(std::int64_t t) override { ns_ = std::max(ns_, t); }
    void advanceMs(std::int64_t ms) { ns_ += ms * 1'000'000; }

    std::vector<int> sleeps;

private:
    std::int64_t ns_ = 1'000'000'000'000;
};

class FakeBeeper final : public Beeper {
public:
    void beep(int hz, int ms) override { beeps.emplace_back(hz, ms); }
    std::vector<std::pair<int, int>> beeps;
};

// Answers come from queues; every question is recorded. An empty queue answers like a
// user who presses the default button (Ok / No / Cancel) or cancels an input box.
class FakeDialogs final : public Dialogs {
public:
    struct Message {
        std::string text, caption;
        MsgIcon icon;
        MsgButtons buttons;
    };
    struct Input {
        std::string prompt, title;
    };

    MsgAnswer messageBox(const std::string& text, const std::string& caption, MsgIcon icon,
                         MsgButtons buttons) override {
        messages.push_back({text, caption, icon, buttons});
        if (onMessage) onMessage();
        const MsgAnswer dflt = buttons == MsgButtons::YesNo      ? MsgAnswer::No
                               : buttons == MsgButtons::OkCancel ? MsgAnswer::Cancel
                                                                 : MsgAnswer::Ok;
        return Next(answers, dflt);
    }
    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string&) override {
        prompts.push_back({prompt, title});
        return Next(inputs, std::optional<std::string>());
    }
    std::optional<std::string> openFile(const std::string& title, const std::vector<std::string>& filters) override {
        fileDialogs.emplace_back(title, filters);
        return Next(files, std::optional<std::string>());
    }
    std::optional<std::string> saveFile(const std::string& title, const std::vector<std::string>& filters,
                                        const std::string&) override {
        return openFile(title, filters);
    }

    std::vector<std::string> texts() const {
        std::vector<std::string> r;
        for (const auto& m : messages) r.push_back(m.text);
        return r;
    }

    std::deque<MsgAnswer> answers;
    // Looks at the windows while a box is up.
    std::function<void()> onMessage;
    std::deque<std::optional<std::string>> inputs;
    std::deque<std::optional<std::string>> files;

    std::vector<Message> messages;
    std::vector<Input> prompts;
    std::vector<std::pair<std::string, std::vector<std::string>>> fileDialogs;

private:
    template <class T>
    static T Next(std::deque<T>& queue, T dflt) {
        if (queue.empty()) return dflt;
        T a = queue.front();
        queue.pop_front();
        return a;
    }
};

// Keeps every control's state in maps and records the history of texts set.
class FakeView : public View {
public:
    void setText(const std::string& c, const std::string& t) override {
        texts_[c] = t;
        history.emplace_back(c, t);
    }
    std::string text(const std::string& c) const override { return get(texts_, c, std::string()); }
    void setChecked(const std::string& c, bool v) override { checked_[c] = v; }
    bool isChecked(const std::string& c) const override { return get(checked_, c, false); }
    void setEnabled(const std::string& c, bool v) override { enabled_[c] = v; }
    bool isEnabled(const std::string& c) const override { return get(enabled_, c, true); }
    void setVisible(const std::string& c, bool v) override { visible_[c] = v; }
    bool isVisible(const std::string& c) const { return get(visible_, c, true); }
    void setItems(const std::string& c, const std::vector<std::string>& items) override {
        items_[c] = items;
        index_[c] = -1;
    }
    std::vector<std::string> items(const std::string& c) const override {
        return get(items_, c, std::vector<std::string>());
    }
    void setCurrentIndex(const std::string& c, int i) override { index_[c] = i; }
    int currentIndex(const std::string& c) const override { return get(index_, c, -1); }
    void setColor(const std::string& c, ColorRole r, std::uint32_t rgb) override { colors_[{c, r}] = rgb; }
    std::uint32_t color(const std::string& c, ColorRole r) const override { return get(colors_, std::pair{c, r}, 0u); }
    void setTimerEnabled(const std::string& t, bool v) override { timers_[t] = v; }
    bool isTimerEnabled(const std::string& t) const override { return get(timers_, t, false); }
    void processEvents() override {}

    std::vector<std::string> textsOf(const std::string& control) const {
        std::vector<std::string> r;
        for (const auto& [c, t] : history)
            if (c == control) r.push_back(t);
        return r;
    }

    std::vector<std::pair<std::string, std::string>> history;

private:
    template <class M, class K, class V>
    static V get(const M& m, const K& k, V dflt) {
        auto it = m.find(k);
        return it == m.end() ? dflt : it->second;
    }
    std::map<std::string, std::string> texts_;
    std::map<std::string, bool> checked_, enabled_, visible_, timers_;
    std::map<std::string, std::vector<std::string>> items_;
    std::map<std::string, int> index_;
    std::map<std::pair<std::string, ColorRole>, std::uint32_t> colors_;
};

// A fresh folder under the system's temporary directory, removed at the end of the test.
class TempDir {
public:
    TempDir()
        : path_(std::filesystem::temp_directory_path() / ("quenix-test-" + std::to_string(std::random_device()()))) {
        if (!std::filesystem::create_directory(path_)) throw std::runtime_error("cannot create a temporary folder");
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::permissions(path_, std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::string str() const { return path_.string(); }
    std::filesystem::path file(const std::string& name) const { return path_ / name; }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path_ / name, std::ios::binary | std::ios::trunc) << bytes;
    }
    std::string read(const std::string& name) const { return ReadFile(path_ / name); }

    static std::string ReadFile(const std::filesystem::path& file) {
        std::ifstream f(file, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(f), std::istreambuf_iterator<char>());
    }

private:
    std::filesystem::path path_;
};

// The configuration that ships with the program, as bytes.
std::string DefaultConfiguration();

} // namespace quenix::testing
