#include "support/fakes.h"

#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>

#ifndef QUENIX_SOURCE_DIR
#define QUENIX_SOURCE_DIR "."
#endif

namespace quenix::testing {

MsgAnswer FakeDialogs::messageBox(const std::string& text, const std::string& caption, MsgIcon icon,
                                  MsgButtons buttons) {
    messages.push_back({text, caption, icon, buttons});
    if (!answers.empty()) {
        MsgAnswer a = answers.front();
        answers.pop_front();
        return a;
    }
    switch (buttons) {
    case MsgButtons::Ok: return MsgAnswer::Ok;
    case MsgButtons::OkCancel: return MsgAnswer::Cancel;
    case MsgButtons::YesNo: return MsgAnswer::No;
    }
    return MsgAnswer::Ok;
}

std::optional<std::string> FakeDialogs::inputBox(const std::string& prompt, const std::string& title,
                                                 const std::string&) {
    prompts.push_back({prompt, title});
    if (inputs.empty()) return std::nullopt;
    auto a = inputs.front();
    inputs.pop_front();
    return a;
}

std::optional<std::string> FakeDialogs::openFile(const std::string& title, const std::vector<std::string>& filters) {
    fileDialogs.emplace_back(title, filters);
    if (files.empty()) return std::nullopt;
    auto a = files.front();
    files.pop_front();
    return a;
}

std::optional<std::string> FakeDialogs::saveFile(const std::string& title, const std::vector<std::string>& filters,
                                                 const std::string&) {
    return openFile(title, filters);
}

std::vector<std::string> FakeDialogs::texts() const {
    std::vector<std::string> r;
    for (const auto& m : messages) r.push_back(m.text);
    return r;
}

std::vector<std::string> FakeView::textsOf(const std::string& control) const {
    std::vector<std::string> r;
    for (const auto& [c, t] : history)
        if (c == control) r.push_back(t);
    return r;
}

TempDir::TempDir() {
    std::random_device rd;
    auto base = std::filesystem::temp_directory_path();
    for (int i = 0; i < 100; ++i) {
        auto p = base / ("quenix-test-" + std::to_string(rd()));
        if (std::filesystem::create_directory(p)) {
            path_ = p;
            return;
        }
    }
    throw std::runtime_error("cannot create a temporary folder");
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
    std::filesystem::remove_all(path_, ec);
}

void TempDir::write(const std::string& name, const std::string& bytes) const {
    std::ofstream f(path_ / name, std::ios::binary | std::ios::trunc);
    f << bytes;
}

std::string TempDir::read(const std::string& name) const {
    std::ifstream f(path_ / name, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

std::string DefaultConfiguration() {
    std::ifstream f(std::string(QUENIX_SOURCE_DIR) + "/data/telvorin.cfg", std::ios::binary);
    if (!f) throw std::runtime_error("data/telvorin.cfg not found");
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

} // namespace quenix::testing
