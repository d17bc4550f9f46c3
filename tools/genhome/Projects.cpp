// Code projects: sources, .git, and installed dependencies (node_modules, virtualenvs).
#include "Areas.h"

#include "Names.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <unordered_set>

using namespace std::string_view_literals;

namespace genhome {

namespace {

    // One project folder: sources in a tree, its .git, and for some the installed dependencies.
    void project(Writer &w, const string &base, int kind, int64_t budget)
    {
        const int64_t t1 = w.anytime(), t0 = t1 - w.between(20 * Day, 900 * Day);
        const bool deps = kind == 0 ? w.rng.chance(0.7) : kind == 1 ? w.rng.chance(0.5) : false;
        double src = w.rng.lognormal(80, 0.9) + 5, git = src * (0.5 + 2 * w.rng.unit()), dep = deps ? w.rng.lognormal(kind == 0 ? 2500 : 1500, 0.6) : 0;
        const double scale = std::min(1.0, double(budget) / (src + git + dep + 8));
        src = std::max(src * scale, 3.0), git = std::max(git * scale, 3.0), dep *= scale;
        const auto when = [&] { return w.between(t0, t1); };
        w.file(base + "/README.md", when());
        w.file(base + "/.gitignore", when());
        static const char *const jsExts[] = {".js", ".js", ".js", ".ts", ".ts", ".jsx", ".css", ".json"};
        const auto put = [&](const string &d) {
            const string word = w.rng.pick(kCodeWords), word2 = w.rng.pick(kCodeWords);
            switch (kind) {
            case 0:
                w.file(d + "/" + string(1, char(std::tolower(word[0]))) + word.substr(1) + word2 + w.rng.pick(jsExts), when());
                break;
            case 1:
                w.file(d + "/" + lower(word) + "_" + lower(word2) + ".py", when());
                break;
            case 2:
                w.file(d + "/" + word + word2 + ".cpp", when());
                w.file(d + "/" + word + word2 + ".h", when());
                break;
            default:
                w.file(d + "/" + word + (w.rng.chance(0.5) ? ".sh" : ".md"), when());
            }
        };
        const auto codeDir = [&] { return string(w.rng.pick(kCodeDirs)); };
        // A package name not yet installed in `dir`.
        std::unordered_set<string> installed;
        const auto fresh = [&](const string &dir, const std::function<string()> &name) {
            string n = name();
            for (int i = 2; !installed.insert(dir + n).second; ++i)
                n = i < 10 ? name() : n + std::to_string(i);
            return n;
        };
        static const char *const roots[] = {"/src", "", "/src", "/scripts"};
        string srcRoot = base + roots[kind];
        if (kind == 1) { // the package folder is named after the project
            srcRoot = base + base.substr(base.rfind('/'));
            std::replace(srcRoot.begin() + long(base.size()), srcRoot.end(), '-', '_');
        }
        if (kind == 0)
            w.file(base + "/package.json", when(), -1,
                "{\n  \"name\": \"" + base.substr(base.rfind('/') + 1) + "\",\n  \"version\": \"1.0.0\",\n  \"private\": true\n}\n");
        else if (kind == 1)
            w.file(base + "/pyproject.toml", when());
        else if (kind == 2)
            w.file(base + "/CMakeLists.txt", when());
        tree(w, srcRoot, int64_t(src) / (kind == 2 ? 2 : 1), w.rng.range(2, 5), codeDir, put);
        if (kind == 1 && dep > 0) { // a virtualenv
            const int64_t t = w.between(t0, t1);
            const string venv = base + "/.venv/";
            w.file(venv + "pyvenv.cfg", t, -1, "home = /usr/bin\ninclude-system-site-packages = false\nversion = 3.11.2\n");
            w.link(venv + "bin/python3", "/usr/bin/python3", t);
            w.link(venv + "bin/python", "python3", t);
            w.file(venv + "bin/activate", t);
            const string sp = venv + "lib/python3.11/site-packages/";
            for (int64_t left = int64_t(dep); left > 0 && w.left() > 0;) {
                const string pkg = fresh(sp, [&] { return string(w.rng.pick(kPip)); }), info = sp + pkg + "-" + version(w.rng) + ".dist-info/";
                w.file(info + "METADATA", t);
                w.file(info + "RECORD", t);
                const int64_t n = std::min<int64_t>(left, w.rng.range(5, 300));
                tree(w, sp + pkg, n, 3, codeDir, [&](const string &d) {
                    const string m = lower(w.rng.pick(kCodeWords));
                    w.file(d + "/" + m + ".py", t);
                    if (w.rng.chance(0.5))
                        w.file(d + "/__pycache__/" + m + ".cpython-311.pyc", t);
                });
                left -= n + 2;
            }
        }
        if (kind == 0 && dep > 0) { // node_modules, with packages nested in packages
            const int64_t t = w.between(t0, t1);
            for (int64_t left = int64_t(dep); left > 0 && w.left() > 0;) {
                string nm = base + "/node_modules/";
                for (int nest = 0; w.rng.chance(0.25) && nest < 3; ++nest)
                    nm += string(w.rng.pick(kNpm)) + "/node_modules/";
                const string pkg = fresh(nm, [&] { return string(w.rng.pick(kNpm)) + (w.rng.chance(0.5) ? "" : string("-") + w.rng.pick(kCodeDirs)); });
                const string dir = nm + pkg;
                w.file(dir + "/package.json", NpmEpoch, -1, "{\n  \"name\": \"" + pkg + "\",\n  \"version\": \"" + version(w.rng) + "\"\n}\n");
                w.file(dir + "/LICENSE", NpmEpoch);
                w.file(dir + "/index.js", NpmEpoch);
                if (w.rng.chance(0.2))
                    w.link(nm + ".bin/" + pkg.substr(pkg.find('/') + 1), "../" + pkg + "/index.js", t);
                const int64_t n = std::min<int64_t>(left, int64_t(w.rng.lognormal(30, 1.2)) + 1);
                tree(w, dir + (w.rng.chance(0.5) ? "/lib" : "/dist"), n, 3, codeDir, [&](const string &d) {
                    static const char *const exts[] = {".js", ".js", ".d.ts", ".js.map", ".cjs", ".mjs", ".json", ".md"};
                    w.file(d + "/" + w.rng.pick(kCodeWords) + w.rng.pick(exts), NpmEpoch);
                });
                left -= n + 3;
            }
        }
        const string g = base + "/.git/";
        w.file(g + "HEAD", t1, -1, "ref: refs/heads/main\n");
        w.file(g + "config", t0, -1, "[core]\n\trepositoryformatversion = 0\n\tfilemode = true\n\tbare = false\n");
        w.file(g + "refs/heads/main", t1, -1, w.rng.hex(40) + "\n");
        w.file(g + "index", t1, int64_t(src) * 90 + 200, "DIRC"sv);
        if (git > 40)
            for (const char *hook : {"applypatch-msg", "commit-msg", "post-update", "pre-commit", "pre-push", "pre-rebase", "prepare-commit-msg", "update"})
                w.file(g + "hooks/" + hook + ".sample", t0, -1, {}, 0755);
        w.file(g + "objects/pack/pack-" + w.rng.hex(40) + ".pack", t0 + Day, int64_t(w.rng.lognormal(5e6, 1.5)), "PACK"sv);
        for (int64_t i = int64_t(git); i > 0 && w.left() > 0; --i)
            w.file(g + "objects/" + w.rng.hex(2) + "/" + w.rng.hex(38), when(), int64_t(w.rng.lognormal(900, 1.2)), "x\x01"sv, 0444);
    }

} // namespace

void projects(Writer &w, const string &root)
{
    const size_t first = w.rng.below(std::size(kProjects)), count = std::size(kProjects);
    for (size_t i = 0; w.left() > 0; ++i) {
        const int kind = i < 3 ? int(i) : int(w.rng.below(4));
        const int64_t budget = i == 0 ? std::max<int64_t>(w.left() / 3, 20) : w.left();
        string name = kProjects[(first + i) % count];
        if (i >= count)
            name += "-" + std::to_string(i / count + 1);
        project(w, root + "/" + name, kind, budget);
        if (i == 0)
            w.link(root + "/" + name + "/tests/fixtures/loop", ".", w.anytime()); // a link to its own folder
    }
}

} // namespace genhome
