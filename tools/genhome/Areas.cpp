// The visible folders of the home: Desktop, Documents, Pictures, Videos, Music and Downloads.
#include "Areas.h"

#include "Contents.h"
#include "Names.h"

#include <algorithm>
#include <cstdio>

using namespace std::string_view_literals;

namespace genhome {

void tree(Writer &w, const string &base, int64_t n, int depth, const std::function<string()> &dirName, const std::function<void(const string &)> &put)
{
    const int64_t here = (depth <= 0 || n <= 6) ? n : std::max<int64_t>(1, int64_t(double(n) * (0.1 + 0.3 * w.rng.unit())));
    for (int64_t i = 0; i < here && w.left() > 0; ++i)
        put(base);
    int64_t rest = n - here;
    const int k = int(std::min<int64_t>(rest, w.rng.range(2, 5)));
    for (int i = 0; i < k && w.left() > 0; ++i) {
        const int64_t share = i == k - 1 ? rest : int64_t(double(rest) * (0.2 + 0.6 * w.rng.unit()));
        rest -= share;
        tree(w, base + "/" + dirName(), share, depth - 1, dirName, put);
    }
}

// ~/Desktop: a few loose files and the links people leave there.
void desktop(Writer &w)
{
    w.dir("Desktop");
    const int64_t t = w.anytime();
    w.link("Desktop/Projects", "../Projects", t);
    w.link("Desktop/thesis-draft-old.pdf", "../Downloads/Old/thesis-draft-old.pdf", t); // its target was deleted
    w.file("Desktop/notes.desktop", t, -1, desktopEntry("Notes", "notely", "Office;"), 0755);
    for (int i = 0; i < 150 && w.left() > 0; ++i) {
        const int64_t f = w.anytime();
        if (w.rng.chance(0.4))
            w.file("Desktop/" + stamp(f, "Screenshot from %Y-%m-%d %H-%M-%S.png"), f);
        else
            w.file("Desktop/" + docName(w.rng, f), f);
    }
    // Past a point people sweep the desktop into folders.
    tree(
        w, "Desktop/old desktop", w.left(), 3, [&] { return string(w.rng.pick(kFolders)); },
        [&](const string &d) {
            const int64_t f = w.anytime();
            w.file(d + "/" + docName(w.rng, f), f);
        });
}

void documents(Writer &w)
{
    const int64_t total = w.left();
    // Bills come monthly; a person keeps a few years of them.
    for (int64_t t = w.anytime(); t < w.now() && w.left() > total * 3 / 4; t += 30 * Day + w.between(-3 * Day, 3 * Day)) {
        w.file("Documents/Finance/Invoices/" + stamp(t, "%Y/Invoice %Y-%m.pdf"), t);
        if (w.rng.chance(0.7))
            w.file("Documents/Finance/Bank statements/" + stamp(t, "Statement %Y-%m.pdf"), t + Day);
    }
    for (int year = 0; year < 6 && w.left() > total * 2 / 3; ++year) {
        const int64_t t = w.now() - (year + 1) * 365 * Day + w.between(0, 90 * Day);
        const string dir = "Documents/Finance/Taxes/" + stamp(t, "%Y") + "/";
        w.file(dir + "Tax return " + stamp(t, "%Y") + ".pdf", t);
        for (int i = w.rng.range(2, 12); i > 0; --i)
            w.file(dir + docName(w.rng, t - w.between(0, 300 * Day)), t - w.between(0, 300 * Day));
    }
    w.dir("Documents/Private");
    for (int i = 0; i < 4; ++i)
        w.file("Documents/Private/" + docName(w.rng, w.anytime()), w.anytime());
    w.locked.push_back("Documents/Private");
    for (int i = int(std::min<int64_t>(w.left() / 20, 200)); i > 0; --i)
        w.file(string("Documents/Books/") + title(w.rng, 2) + " - " + w.rng.pick(kArtists) + (w.rng.chance(0.6) ? ".epub" : ".pdf"), w.anytime());
    while (w.left() > 0) {
        const int64_t t1 = w.anytime(), t0 = t1 - w.between(10 * Day, 700 * Day);
        const int64_t n = std::min<int64_t>(w.left(), int64_t(w.rng.lognormal(60, 1.0)) + 1);
        tree(
            w, string("Documents/") + w.rng.pick(kFolders), n, w.rng.range(1, 4), [&] { return string(w.rng.pick(kFolders)); },
            [&](const string &d) {
                const int64_t t = w.between(t0, t1);
                w.file(d + "/" + docName(w.rng, t), t);
            });
    }
}

void pictures(Writer &w)
{
    const int64_t total = w.left();
    while (w.left() > total * 85 / 100) {
        const int64_t t = w.anytime();
        w.file("Pictures/Screenshots/" + stamp(t, "Screenshot from %Y-%m-%d %H-%M-%S.png"), t);
    }
    for (int i = 0; i < 40 && w.left() > total * 80 / 100; ++i)
        w.file(string("Pictures/Wallpapers/") + w.rng.pick(kSongWords) + "-" + w.rng.pick(kEvents) + (w.rng.chance(0.7) ? "-4k.jpg" : ".webp"), w.anytime());
    for (int i = 0; i < 100 && w.left() > total * 72 / 100; ++i) {
        static const char *const names[] = {"logo", "banner", "icon", "mockup", "poster", "flyer", "avatar", "header"};
        static const char *const exts[] = {".svg", ".psd", ".png", "@2x.png", ".gif", ".svg"};
        w.file(string("Pictures/Design/") + w.rng.pick(kProjects) + "/" + w.rng.pick(names) + "-v" + std::to_string(w.rng.range(1, 6)) + w.rng.pick(exts),
            w.anytime());
    }
    unsigned counter = unsigned(w.rng.range(1, 9000));
    while (w.left() > 0) {
        int64_t t = w.anytime();
        const string dir = "Pictures/" + stamp(t, "%Y/%Y-%m-%d ") + w.rng.pick(kEvents) + "/";
        const int camera = w.rng.range(0, 5);
        for (int64_t n = std::min<int64_t>(w.left(), int64_t(w.rng.lognormal(40, 0.8)) + 1); n > 0; --n) {
            t += w.between(5, 1200);
            char num[16];
            std::snprintf(num, sizeof num, camera == 2 ? "%05u" : "%04u", camera == 2 ? counter % 100000 : counter % 10000);
            ++counter;
            switch (camera) {
            case 0:
                w.file(dir + "IMG_" + num + ".JPG", t);
                break;
            case 1:
                w.file(dir + "IMG_" + num + ".HEIC", t);
                break;
            case 2:
                w.file(dir + "DSC" + num + ".ARW", t);
                if (w.rng.chance(0.5))
                    w.file(dir + "DSC" + num + ".JPG", t);
                break;
            case 3:
                w.file(dir + "_MG_" + num + ".CR2", t);
                break;
            case 4:
                w.file(dir + stamp(t, "PXL_%Y%m%d_%H%M%S") + num + ".jpg", t);
                break;
            default:
                w.file(dir + stamp(t, "IMG_%Y%m%d_%H%M%S.jpg"), t);
            }
        }
    }
}

void videos(Writer &w)
{
    for (int i = 0; i < 3; ++i)
        w.file(string("Videos/Movies/") + title(w.rng, 2) + " (" + std::to_string(w.rng.range(1970, 2024)) + ").mkv", w.anytime());
    while (w.left() > 0) {
        const int64_t t = w.anytime();
        switch (w.rng.below(4)) {
        case 0:
            w.file("Videos/Screencasts/" + stamp(t, "Screencast from %Y-%m-%d %H-%M-%S.webm"), t);
            break;
        case 1:
            w.file("Videos/" + stamp(t, "%Y ") + w.rng.pick(kEvents) + "/clip" + std::to_string(w.rng.range(1, 40)) + ".mov", t);
            break;
        default:
            w.file("Videos/Phone/" + stamp(t, "VID_%Y%m%d_%H%M%S.mp4"), t);
        }
    }
}

void music(Writer &w)
{
    static const char *const exts[] = {".mp3", ".mp3", ".mp3", ".mp3", ".flac", ".flac", ".m4a", ".m4a", ".ogg", ".wav"};
    while (w.left() > 0) {
        const int64_t t = w.anytime();
        const string dir
            = string("Music/") + w.rng.pick(kArtists) + "/" + title(w.rng, w.rng.range(1, 3)) + " (" + std::to_string(w.rng.range(1975, 2025)) + ")/";
        const string ext = w.rng.pick(exts);
        for (int n = w.rng.range(6, 16), i = 1; i <= n; ++i) {
            char num[8];
            std::snprintf(num, sizeof num, "%02d", i);
            w.file(dir + num + " - " + title(w.rng, w.rng.range(1, 4)) + ext, t + i);
        }
        w.file(dir + (w.rng.chance(0.5) ? "cover.jpg" : "folder.jpg"), t);
    }
}

namespace {

    // An application bundle from another system, as unpacked from a download.
    void bundle(Writer &w, const string &dir, const string &app, int64_t t)
    {
        const string c = dir + "/" + app + ".app/Contents/";
        w.file(c + "Info.plist", t, -1,
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict><key>CFBundleName</key><string>" + app + "</string></dict></plist>\n");
        w.file(c + "PkgInfo", t, -1, "APPL????");
        w.file(c + "MacOS/" + app, t, int64_t(w.rng.lognormal(4e6, 0.5)), "\xCF\xFA\xED\xFE"sv, 0755);
        w.file(c + "Resources/AppIcon.icns", t);
        for (const char *lang : {"en", "de", "fr", "ja"})
            w.file(c + "Resources/" + lang + ".lproj/Localizable.strings", t);
        w.file(c + "_CodeSignature/CodeResources", t);
        const string fw = c + "Frameworks/" + app + "Core.framework/";
        w.file(fw + "Versions/A/" + app + "Core", t, int64_t(w.rng.lognormal(2e6, 0.5)), "\xCF\xFA\xED\xFE"sv, 0755);
        w.file(fw + "Versions/A/Resources/Info.plist", t);
        w.file(fw + "Versions/A/Headers/" + app + "Core.h", t);
        w.link(fw + "Versions/Current", "A", t);
        w.link(fw + app + "Core", "Versions/Current/" + app + "Core", t);
        w.link(fw + "Resources", "Versions/Current/Resources", t);
        w.link(fw + "Headers", "Versions/Current/Headers", t);
    }

} // namespace

void downloads(Writer &w)
{
    const int64_t t = w.anytime();
    bundle(w, "Downloads/Scribe-2.4-mac", "Scribe", t);
    const string fw = "Downloads/sdk/Render.framework/";
    w.file(fw + "Render", t, 3000000, "\xCF\xFA\xED\xFE"sv);
    for (const char *h : {"Render.h", "Surface.h", "Color.h"})
        w.file(fw + "Headers/" + h, t);
    w.file(fw + "Resources/Info.plist", t);
    static const char *const loose[] = {"document.pdf", "image.png", "download.jpg", "file.pdf", "ticket.pdf", "boarding-pass.pdf", "scan.pdf", "photo.jpg",
        "archive.zip", "export.xlsx", "form.docx", "untitled.txt"};
    while (w.left() > 0) {
        const int64_t f = w.anytime();
        const string app = w.rng.pick(kApps);
        switch (w.rng.below(10)) {
        case 0:
            w.file("Downloads/" + app + "-" + version(w.rng) + "-x86_64.AppImage", f, -1, {}, 0755);
            break;
        case 1: {
            if (!w.rng.chance(0.25)) { // disk images are rarer than other installers
                w.file("Downloads/" + lower(app) + "_" + version(w.rng) + "_amd64.deb", f);
                break;
            }
            static const char *const isos[] = {"debian-12.%d.0-amd64-netinst.iso", "fedora-workstation-40-1.%d.iso", "distro-24.04.%d-desktop-amd64.iso"};
            char name[64];
            std::snprintf(name, sizeof name, w.rng.pick(isos), w.rng.range(1, 9));
            w.file("Downloads/" + string(name), f);
            break;
        }
        case 2: {
            static const char *const exts[] = {"_amd64.deb", ".dmg", ".tar.gz", ".zip", ".7z", "-setup.exe"};
            w.file("Downloads/" + app + "_" + version(w.rng) + w.rng.pick(exts), f);
            break;
        }
        case 3: { // an unpacked source archive
            const string dir = "Downloads/" + string(w.rng.pick(kProjects)) + "-" + version(w.rng);
            w.file(dir + "/README.md", f);
            tree(
                w, dir + "/src", std::min<int64_t>(w.left(), w.rng.range(3, 40)), 2, [&] { return string(w.rng.pick(kCodeDirs)); },
                [&](const string &d) { w.file(d + "/" + w.rng.pick(kCodeWords) + (w.rng.chance(0.5) ? ".c" : ".h"), f); });
            break;
        }
        case 4:
        case 5:
            w.file("Downloads/" + string(w.rng.pick(loose)), f); // repeats become "file (2).pdf"
            break;
        default:
            w.file("Downloads/" + docName(w.rng, f), f);
        }
    }
}

} // namespace genhome
