// File kinds (typical size and first bytes) and the bytes written into files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace genhome {

using std::string;

constexpr uint64_t KiB = 1024, MiB = KiB * KiB, GiB = MiB * KiB;
// Real text up to this size; bigger text files get their first line and a hole.
constexpr uint64_t TextLimit = 16 * KiB;

// Median size in bytes, spread (sigma of the log), and the first bytes a real file of the kind starts with.
struct Kind {
    const char *ext;
    double median, sigma;
    std::string_view head;
    bool text;
};

// The kind of a file from its name's extension; unknown ones are small text.
const Kind &kindOf(const string &rel);
// Readable filler for text files, the same bytes every time.
const string &filler();
// A .desktop file launching `exec`.
string desktopEntry(const string &name, const string &exec, const char *categories);

} // namespace genhome
