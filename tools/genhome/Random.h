// Rng: the seeded random stream every part of the generated home draws from.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <random>
#include <string>

namespace genhome {

using std::string;

struct Rng {
    std::mt19937_64 g;
    explicit Rng(uint64_t seed)
        : g(seed)
    {
    }
    uint64_t below(uint64_t n) { return n ? g() % n : 0; }
    int range(int lo, int hi) { return lo + int(below(uint64_t(hi - lo) + 1)); }
    double unit() { return double(g() >> 11) * 0x1.0p-53; }
    bool chance(double p) { return unit() < p; }
    double normal() { return std::sqrt(-2.0 * std::log(1.0 - unit())) * std::cos(2.0 * std::numbers::pi * unit()); }
    double lognormal(double median, double sigma) { return median * std::exp(sigma * normal()); }
    template<size_t N>
    const char *pick(const char *const (&a)[N])
    {
        return a[below(N)];
    }
    string hex(int n, bool upper = false)
    {
        const char *digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
        string s(size_t(n), '0');
        for (char &c : s)
            c = digits[g() & 15];
        return s;
    }
};

} // namespace genhome
