// Writer: creates the folders, files and links of one part of the home, and keeps their totals and dates.
#include "Writer.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace genhome {

uint64_t Writer::sizeFor(const Kind &k)
{
    const uint64_t cap = m_large ? 4 * GiB : 4 * MiB;
    uint64_t size = uint64_t(std::min(rng.lognormal(k.median, k.sigma), 1e12));
    if (size > cap) // keep some spread below the cap
        size = cap / 2 + size % (cap / 2);
    return rng.chance(0.005) ? 0 : size;
}

void Writer::dir(const string &rel)
{
    if (rel.empty() || m_made.count(rel) || !error.empty())
        return;
    const size_t slash = rel.rfind('/');
    if (slash != string::npos)
        dir(rel.substr(0, slash));
    if (mkdirat(m_root, rel.c_str(), 0755) != 0 && errno != EEXIST)
        return fail("cannot create folder " + rel);
    m_made.insert(rel);
    dirTimes.emplace(rel, 0);
}

string Writer::file(const string &rel, int64_t when, int64_t size, std::string_view body, mode_t mode)
{
    if (!error.empty())
        return {};
    dir(parentOf(rel));
    const Kind &k = kindOf(rel);
    const uint64_t bytes = size >= 0 ? uint64_t(size) : body.empty() ? sizeFor(k) : body.size();
    string content(body.empty() ? k.head : body);
    if (body.empty() && k.text && bytes <= TextLimit) {
        content += filler().substr(0, bytes > content.size() ? bytes - content.size() : 0);
    }
    content.resize(std::min<uint64_t>(content.size(), bytes));
    string path = rel;
    int fd = -1;
    for (int tries = 0; fd < 0; ++tries) {
        fd = openat(m_root, path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (fd < 0 && (errno != EEXIST || tries > 1000))
            return fail("cannot create file " + path), string();
        if (fd < 0)
            path = numbered(rel, ++m_clashes[rel] + 1);
    }
    const long ns = long(rng.below(1000000000));
    const timespec ts[2] = {{when, ns}, {when, ns}};
    const bool ok = (content.empty() || write(fd, content.data(), content.size()) == ssize_t(content.size()))
        && (bytes == content.size() || ftruncate(fd, off_t(bytes)) == 0) && futimens(fd, ts) == 0;
    close(fd);
    if (!ok)
        return fail("cannot write file " + path), string();
    touch(path, when * 1000000000 + ns);
    ++totals.files;
    totals.bytes += bytes;
    --m_left;
    return path;
}

void Writer::link(const string &rel, const string &target, int64_t when)
{
    if (!error.empty())
        return;
    dir(parentOf(rel));
    if (symlinkat(target.c_str(), m_root, rel.c_str()) != 0) {
        if (errno != EEXIST)
            fail("cannot create link " + rel);
        return;
    }
    const timespec ts[2] = {{when, 0}, {when, 0}};
    utimensat(m_root, rel.c_str(), ts, AT_SYMLINK_NOFOLLOW);
    touch(rel, when * 1000000000);
    ++totals.links;
}

void Writer::fail(const string &what)
{
    if (error.empty())
        error = what + ": " + std::strerror(errno);
}

void Writer::touch(const string &rel, int64_t ns)
{
    int64_t &t = dirTimes[parentOf(rel)];
    t = std::max(t, ns);
}

string Writer::numbered(const string &rel, int n)
{
    const size_t slash = rel.rfind('/'), start = slash == string::npos ? 0 : slash + 1;
    size_t dot = rel.ends_with(".tar.gz") ? rel.size() - 7 : rel.rfind('.');
    if (dot == string::npos || dot <= start)
        dot = rel.size();
    return rel.substr(0, dot) + " (" + std::to_string(n) + ")" + rel.substr(dot);
}

} // namespace genhome
