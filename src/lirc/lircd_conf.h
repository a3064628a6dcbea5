#pragma once

// Reading LIRC's remote descriptions (lircd.conf): "begin remote" ... "end remote" blocks of
// timing parameters and a table of key codes. Only what a transmitter needs is kept.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quenix {

// A mark/space pair in microseconds; {0, 0} when the file does not give it.
struct LircPair {
    double pulse = 0;
    double space = 0;
    bool present() const { return pulse > 0 || space > 0; }
};

struct LircKey {
    std::string name;
    std::uint64_t code = 0;
};

struct LircRemote {
    std::string name;
    int line = 0;                   // where "begin remote" stands, for messages
    int endLine = 0;                // where "end remote" stands
    std::vector<std::string> flags; // upper case, as written between "|"
    int bits = 0;
    LircPair header, one, zero, two, three, pre, post, foot, repeat;
    double plead = 0;
    double ptrail = 0;
    int preDataBits = 0;
    std::uint64_t preData = 0;
    int postDataBits = 0;
    std::uint64_t postData = 0;
    double gap = 0;
    int toggleBit = 0;            // 1-based from the first bit sent; 0 none
    std::uint64_t toggleMask = 0; // over pre_data, code and post_data joined
    std::uint64_t rc6Mask = 0;    // RC6: the bits sent at double width, as toggleMask
    std::uint64_t repeatMask = 0; // the bits each repeat sends inverted, as toggleMask
    double frequency = 0;
    std::vector<LircKey> keys;
    std::vector<std::string> rawKeys; // keys given as raw_codes
    std::vector<std::string> unknown; // parameters this reader does not know

    bool hasFlag(std::string_view flag) const;
    // All bits of one frame: pre_data, code and post_data.
    int totalBits() const { return preDataBits + bits + postDataBits; }
};

struct LircFile {
    std::vector<LircRemote> remotes;
    std::vector<std::string> errors; // "line N: ..." for what could not be read
};

// Reads the text of a lircd.conf file. Never throws: damaged parts are skipped and told in
// errors, so that any bytes can be handed to it.
LircFile ParseLircdConf(std::string_view text);

} // namespace quenix
