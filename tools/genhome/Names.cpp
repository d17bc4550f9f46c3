// Word lists and the makers of lifelike file and folder names.
#include "Names.h"

#include <algorithm>
#include <cctype>
#include <ctime>

namespace genhome {

string stamp(int64_t t, const char *format)
{
    const time_t tt = time_t(t);
    struct tm tm {
    };
    gmtime_r(&tt, &tm);
    char buf[64];
    return string(buf, std::strftime(buf, sizeof buf, format, &tm));
}

string capital(string s)
{
    if (!s.empty())
        s[0] = char(std::toupper(static_cast<unsigned char>(s[0])));
    return s;
}

string lower(string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](char c) { return char(std::tolower(static_cast<unsigned char>(c))); });
    return s;
}

string title(Rng &r, int words)
{
    string s = r.pick(kSongWords);
    for (int i = 1; i < words; ++i)
        s += string(" ") + r.pick(kSongWords);
    return s;
}

string version(Rng &r)
{
    return std::to_string(r.range(0, 4)) + "." + std::to_string(r.range(0, 20)) + "." + std::to_string(r.range(0, 9));
}

string docName(Rng &r, int64_t t)
{
    static const char *const exts[] = {"pdf", "pdf", "pdf", "pdf", "pdf", "docx", "docx", "odt", "odt", "xlsx", "xlsx", "ods", "pptx", "odp", "txt", "txt",
        "md", "rtf", "jpg", "png", "zip", "epub"};
    const string ext = r.pick(exts);
    switch (r.below(7)) {
    case 0:
        return capital(r.pick(kTopics)) + " " + r.pick(kWords) + "." + ext;
    case 1:
        return string(r.pick(kTopics)) + "-" + r.pick(kWords) + (r.chance(0.5) ? "-final" : "") + (r.chance(0.5) ? "-v" + std::to_string(r.range(2, 5)) : "")
            + "." + ext;
    case 2:
        return capital(r.pick(kWords)) + " " + stamp(t, "%Y-%m-%d") + "." + ext;
    case 3:
        return stamp(t, "scan%m%d") + ".pdf";
    case 4:
        return string(r.pick(kWords)) + "_" + r.pick(kTopics) + "_" + stamp(t, "%Y") + "." + ext;
    case 5:
        return "Invoice " + stamp(t, "%Y-%m") + ".pdf";
    default:
        return capital(r.pick(kTopics)) + " " + r.pick(kWords) + " (" + stamp(t, "%B %Y") + ")." + ext;
    }
}

} // namespace genhome
