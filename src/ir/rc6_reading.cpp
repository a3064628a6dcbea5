#include "ir/rc6_reading.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

namespace quenix {

namespace {

// RC6 in half-bit positions from the start bit on: its bits and the mode bits change level
// in their middle; the trailer bit is twice as long, so it changes only in its own middle.
constexpr int kRc6TrailerAt = 8;
constexpr int kRc6SecondModeBitAt = 4;
constexpr int kRc6LastModeBitAt = 6; // the third mode bit is 0 in both: space, then mark
constexpr int kRc6DataAt = 12;
constexpr double kRc6LeadRatioMin = 1.5; // leader mark over leader space: 3 when exact
constexpr double kRc6LeadRatioMax = 10; // a slow receiver lengthens the mark at the space's cost
constexpr double kRc6MaxDeviation = 0.45; // of a run's expected length
constexpr double kRc6Preference = 0.5;    // squared deviations a usual bit count is worth

enum class Edge { Optional, Required, Never };

Edge Rc6Edge(int p) {
    if (p == kRc6TrailerAt + 2) return Edge::Required;
    if (p == kRc6TrailerAt + 1 || p == kRc6TrailerAt + 3) return Edge::Never;
    // Modes 0 and 6 (000 and 110) alone: the first two mode bits alike, so their halves change
    // level between them too.
    if (p < kRc6TrailerAt) return p % 2 || p == kRc6SecondModeBitAt ? Edge::Required : Edge::Optional;
    return (p - kRc6DataAt) % 2 ? Edge::Required : Edge::Optional;
}

} // namespace

bool UsualRc6Length(int mode, std::size_t bits) {
    return mode == 0 ? bits == 16 : bits == 20 || bits == 24 || bits == 32;
}

// Each run behind the leader lasts one, two or three half-bits; of the ways to lay them on the
// frame's edges, the one that strays least from the unit wins.
FrameReading ReadRc6(const std::vector<int>& r) {
    FrameReading f;
    if (r.size() < 2 + kRc6DataAt / 2 || r[1] <= 0) return f;
    const double ratio = static_cast<double>(r[0]) / r[1];
    if (ratio < kRc6LeadRatioMin || ratio > kRc6LeadRatioMax) return f;
    constexpr double kNone = std::numeric_limits<double>::infinity();
    const std::size_t n = r.size() - 2;
    const int width = 3 * static_cast<int>(n) + 1;
    // The leader sets the first guess of the unit; jitter on its two runs may mislead it, and a
    // guess the runs cannot be laid on is tried again larger, then smaller.
    constexpr double kGuesses[] = {1.0, 1.2, 0.85};
    std::size_t guess = 0;
    const double leaderUnit = (r[0] + r[1]) / 8.0;
    double unit = leaderUnit;
    double stretch = 0; // added to marks and taken from spaces, as a slow receiver does
    std::vector<double> cost;
    std::vector<int> step;
    int end = -1;
    for (int pass = 0; pass < 3; ++pass) {
        cost.assign((n + 1) * static_cast<std::size_t>(width), kNone);
        step.assign(cost.size(), 0);
        cost[0] = 0;
        for (std::size_t i = 0; i < n; ++i)
            for (int p = 0; p + 1 < width; ++p) {
                const double base = cost[i * width + static_cast<std::size_t>(p)];
                if (base == kNone) continue;
                for (int len = 1; len <= 3 && p + len < width; ++len) {
                    if (Rc6Edge(p + len) == Edge::Never) continue;
                    if (i % 2 == 0 && p <= kRc6LastModeBitAt && p + len > kRc6LastModeBitAt) continue;
                    if (len > 1 && Rc6Edge(p + 1) == Edge::Required) break;
                    if (len > 2 && Rc6Edge(p + 2) == Edge::Required) break;
                    const double d = (r[i + 2] - (i % 2 == 0 ? stretch : -stretch)) / (unit * len) - 1;
                    // Before the fit knows the receiver's stretch a run strays further; the
                    // bound narrows pass by pass.
                    if (std::abs(d) > kRc6MaxDeviation + 0.15 * (2 - pass)) continue;
                    const std::size_t to = (i + 1) * width + static_cast<std::size_t>(p + len);
                    if (base + d * d < cost[to]) cost[to] = base + d * d, step[to] = len;
                }
            }
        // The last run is a mark; a 1 bit's space half runs into the gap behind it.
        end = -1;
        double best = kNone;
        for (int q = kRc6DataAt + 1; q < width; ++q) {
            double c = cost[n * width + static_cast<std::size_t>(q)];
            if (c == kNone) continue;
            const std::size_t bits = static_cast<std::size_t>(q - kRc6DataAt + 1) / 2;
            if (UsualRc6Length(0, bits) || UsualRc6Length(6, bits)) c -= kRc6Preference;
            if (c < best) best = c, end = q;
        }
        if (end < 0) {
            if (pass > 0 || ++guess == std::size(kGuesses)) return f;
            unit = leaderUnit * kGuesses[guess];
            pass = -1;
            continue;
        }
        // Least squares of run = unit * length +- stretch over the lengths just laid.
        double ll = 0, ls = 0, xl = 0, xs = 0;
        for (std::size_t i = n, q = static_cast<std::size_t>(end); i > 0; --i) {
            const int len = step[i * width + q];
            const double sign = (i - 1) % 2 == 0 ? 1 : -1;
            ll += len * len, ls += len * sign, xl += r[i + 1] * len, xs += r[i + 1] * sign;
            q -= static_cast<std::size_t>(len);
        }
        const double det = ll * static_cast<double>(n) - ls * ls;
        if (det <= 0) break;
        unit = (xl * static_cast<double>(n) - ls * xs) / det;
        stretch = std::clamp((ll * xs - ls * xl) / det, -0.4 * unit, 0.4 * unit);
        if (unit <= 0) return f;
    }
    std::string levels(static_cast<std::size_t>(end) + 1, '0');
    for (std::size_t i = n, q = static_cast<std::size_t>(end); i > 0; --i) {
        const int len = step[i * width + q];
        if ((i - 1) % 2 == 0) levels.replace(q - static_cast<std::size_t>(len), static_cast<std::size_t>(len), static_cast<std::size_t>(len), '1');
        q -= static_cast<std::size_t>(len);
    }
    int mode = 0;
    for (int k = 2; k < kRc6TrailerAt; k += 2) mode = mode * 2 + (levels[static_cast<std::size_t>(k)] == '1');
    if (levels[0] != '1' || (mode != 0 && mode != 6)) return f;
    f.protocol = mode == 0 ? kProtoRc6 : kProtoRc6A;
    for (int k = kRc6DataAt; k < end; k += 2) f.bits += levels[static_cast<std::size_t>(k)];
    f.unit = unit;
    f.doubt = cost[n * width + static_cast<std::size_t>(end)];
    f.ok = true;
    return f;
}

} // namespace quenix
