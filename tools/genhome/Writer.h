// Writer: creates the folders, files and links of one part of the home, and keeps their totals and dates.
#pragma once

#include "Contents.h"
#include "Random.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <sys/types.h>

namespace genhome {

using std::string;

constexpr int64_t Day = 86400;

struct Totals {
    uint64_t files = 0, links = 0, bytes = 0;
};

// Writes one part of the home folder, single-threaded, with its own random stream; parts never share a folder
// except the ancestors, so the result is the same whatever thread runs them.
class Writer
{
public:
    Writer(int root, uint64_t seed, int64_t budget, bool large, int64_t now)
        : rng(seed)
        , m_root(root)
        , m_left(budget)
        , m_large(large)
        , m_now(now)
    {
    }

    Rng rng;
    Totals totals;
    string error;
    std::vector<string> locked;
    std::unordered_map<string, int64_t> dirTimes; // newest entry written in each folder, in ns

    int64_t left() const { return error.empty() ? m_left : 0; }
    int64_t now() const { return m_now; }
    // A moment over the last six years, recent ones likelier.
    int64_t anytime() { return m_now - Day - int64_t(double(6 * 365 * Day) * std::pow(rng.unit(), 1.7)); }
    int64_t between(int64_t from, int64_t to) { return from + int64_t(rng.below(uint64_t(std::max<int64_t>(1, to - from)))); }

    uint64_t sizeFor(const Kind &k);
    void dir(const string &rel);
    // Writes a file of `size` bytes (drawn from its kind when negative) starting with `body`; returns its path.
    string file(const string &rel, int64_t when, int64_t size = -1, std::string_view body = {}, mode_t mode = 0644);
    void link(const string &rel, const string &target, int64_t when);

    static string parentOf(const string &rel)
    {
        const size_t slash = rel.rfind('/');
        return slash == string::npos ? string() : rel.substr(0, slash);
    }

private:
    void fail(const string &what);
    void touch(const string &rel, int64_t ns);
    // "name.ext" -> "name (n).ext", the way browsers and file managers avoid a clash.
    static string numbered(const string &rel, int n);

    int m_root;
    int64_t m_left;
    bool m_large;
    int64_t m_now;
    std::unordered_set<string> m_made;
    std::unordered_map<string, int> m_clashes; // last number given to each clashing name
};

} // namespace genhome
