#pragma once

// A receiver line that plays cells in real time (standard receiver: DCD off during carrier)
// and notes when it was looked at.

#include "serpulse/pulse_engine.h"

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

class PlayedLine final : public serpulse::Line {
public:
    PlayedLine(serpulse::Timebase& time, std::string cells, double cellUs, std::int64_t startNs)
        : time_(time), cells_(std::move(cells)), cellNs_(cellUs * 1000), start_(startNs) {}
    bool dcd() override {
        std::int64_t now = time_.nowNs();
        looks.push_back(now);
        if (now < start_) return true;
        auto k = static_cast<std::size_t>(static_cast<double>(now - start_) / cellNs_);
        return !(k < cells_.size() && cells_[k] == '1');
    }
    void setDtr(bool) override {}
    bool write(const std::uint8_t*, std::size_t) override { return true; }
    void drain() override {}
    std::int64_t endNs() const {
        return start_ + static_cast<std::int64_t>(static_cast<double>(cells_.size()) * cellNs_);
    }
    std::int64_t lastCarrierEndNs() const {
        std::size_t last = cells_.find_last_of('1');
        return start_ + static_cast<std::int64_t>(static_cast<double>(last + 1) * cellNs_);
    }
    std::vector<std::int64_t> looks;

private:
    serpulse::Timebase& time_;
    std::string cells_;
    double cellNs_;
    std::int64_t start_;
};

} // namespace bench
