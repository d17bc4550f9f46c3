// File kinds (typical size and first bytes) and the bytes written into files.
#include "Contents.h"

#include <algorithm>
#include <cctype>
#include <iterator>

using namespace std::string_view_literals;

namespace genhome {

namespace {

    const Kind kKinds[] = {
        {"jpg", 2.8e6, 0.5, "\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00"sv, false},
        {"jpeg", 2.5e6, 0.6, "\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00"sv, false},
        {"png", 3.5e5, 1.0, "\x89PNG\r\n\x1A\n\x00\x00\x00\x0DIHDR"sv, false},
        {"heic", 1.9e6, 0.4,
            "\x00\x00\x00\x18"
            "ftypheic\x00\x00\x00\x00mif1heic"sv,
            false},
        {"webp", 1.8e5, 0.9, "RIFF\x00\x00\x00\x00WEBPVP8 "sv, false},
        {"gif", 6e5, 1.0, "GIF89a"sv, false},
        {"svg", 1.2e4, 1.0, "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 64 64\">\n"sv, true},
        {"cr2", 2.4e7, 0.2,
            "II*\x00\x10\x00\x00\x00"
            "CR\x02\x00"sv,
            false},
        {"arw", 2.2e7, 0.2, "II*\x00\x08\x00\x00\x00"sv, false},
        {"psd", 4.5e7, 0.9, "8BPS\x00\x01"sv, false},
        {"mp4", 9e7, 1.3,
            "\x00\x00\x00\x20"
            "ftypisom\x00\x00\x02\x00isomiso2avc1mp41"sv,
            false},
        {"mov", 8e7, 1.0,
            "\x00\x00\x00\x14"
            "ftypqt  \x00\x00\x00\x00qt  "sv,
            false},
        {"mkv", 1.4e9, 0.5, "\x1A\x45\xDF\xA3"sv, false},
        {"webm", 2.5e7, 1.2, "\x1A\x45\xDF\xA3"sv, false},
        {"mp3", 6e6, 0.4, "ID3\x03\x00\x00\x00\x00\x00\x00"sv, false},
        {"m4a", 7e6, 0.4,
            "\x00\x00\x00\x20"
            "ftypM4A \x00\x00\x00\x00M4A mp42isom"sv,
            false},
        {"flac", 2.8e7, 0.4, "fLaC"sv, false},
        {"wav", 4.5e7, 0.8, "RIFF\x00\x00\x00\x00WAVEfmt "sv, false},
        {"ogg", 5e6, 0.4, "OggS\x00\x02"sv, false},
        {"pdf", 2.5e5, 1.6, "%PDF-1.7\n%\xE2\xE3\xCF\xD3\n"sv, false},
        {"odt", 3.5e4, 0.9, "PK\x03\x04"sv, false},
        {"ods", 2.5e4, 1.0, "PK\x03\x04"sv, false},
        {"odp", 1.5e6, 1.0, "PK\x03\x04"sv, false},
        {"docx", 4.5e4, 1.0, "PK\x03\x04"sv, false},
        {"xlsx", 3e4, 1.0, "PK\x03\x04"sv, false},
        {"pptx", 2.5e6, 1.0, "PK\x03\x04"sv, false},
        {"epub", 1.2e6, 0.8, "PK\x03\x04"sv, false},
        {"zip", 2.5e7, 2.0, "PK\x03\x04"sv, false},
        {"rtf", 1.2e4, 1.0, "{\\rtf1\\ansi\\deff0\n"sv, true},
        {"tar.gz", 1.2e7, 1.8, "\x1F\x8B\x08\x00"sv, false},
        {"7z", 4e7, 1.5, "7z\xBC\xAF\x27\x1C"sv, false},
        {"iso", 2.6e9, 0.35, ""sv, false},
        {"dmg", 1.2e8, 0.8, ""sv, false},
        {"deb", 6e6, 1.3, "!<arch>\ndebian-binary   "sv, false},
        {"appimage", 1.1e8, 0.5,
            "\x7F"
            "ELF\x02\x01\x01\x00\x41\x49\x02"sv,
            false},
        {"exe", 3e7, 1.0, "MZ\x90\x00"sv, false},
        {"ttf", 2e5, 0.8, "\x00\x01\x00\x00"sv, false},
        {"icns", 2e5, 0.8, "icns"sv, false},
        {"sqlite", 5e5, 1.5, "SQLite format 3\x00"sv, false},
        {"pyc", 8e3, 1.0, "\xA7\x0D\x0D\x0A"sv, false},
        {"o", 6e4, 1.0,
            "\x7F"
            "ELF\x02\x01\x01\x00"sv,
            false},
        {"so", 4e5, 1.2,
            "\x7F"
            "ELF\x02\x01\x01\x00"sv,
            false},
        {"map", 2e4, 1.2, "{\"version\":3,\"sources\":[\n"sv, true},
        {"c", 6e3, 1.0, ""sv, true},
        {"cpp", 8e3, 1.0, ""sv, true},
        {"h", 3e3, 1.0, ""sv, true},
        {"py", 5e3, 1.1, ""sv, true},
        {"js", 4e3, 1.3, ""sv, true},
        {"ts", 4e3, 1.1, ""sv, true},
        {"sh", 1.5e3, 0.9, "#!/bin/sh\n"sv, true},
        {"json", 1.5e3, 1.6, "{\n"sv, true},
        {"xml", 6e3, 1.2, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"sv, true},
        {"yaml", 1.2e3, 0.8, ""sv, true},
        {"md", 3e3, 1.1, ""sv, true},
        {"txt", 2e3, 1.4, ""sv, true},
    };
    // Anything else (LICENSE, config, .gitignore, ...) is small text.
    const Kind kOther = {"", 1.5e3, 1.2, ""sv, true};

} // namespace

const Kind &kindOf(const string &rel)
{
    const size_t slash = rel.rfind('/');
    const size_t dot = rel.find('.', (slash == string::npos ? 0 : slash + 1) + 1); // not the dot of a hidden name
    if (dot == string::npos)
        return kOther;
    string ext = rel.substr(rel.rfind('.') + 1);
    if (rel.ends_with(".tar.gz"))
        ext = "tar.gz";
    std::transform(ext.begin(), ext.end(), ext.begin(), [](char c) { return char(std::tolower(static_cast<unsigned char>(c))); });
    for (const Kind &k : kKinds)
        if (ext == k.ext)
            return k;
    return kOther;
}

const string &filler()
{
    static const string text = [] {
        const char *const lines[] = {
            "    value = compute(item, index); // keep the order stable\n",
            "The quick brown fox jumps over the lazy dog near the river bank.\n",
            "    if (count > limit)\n        return std::nullopt;\n",
            "- check the numbers again before sending the final version\n",
            "    for entry in entries:\n        total += entry.size\n",
            "Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod.\n",
        };
        string s;
        for (size_t i = 0; s.size() < TextLimit; ++i)
            s += lines[(i * 7) % std::size(lines)];
        return s;
    }();
    return text;
}

string desktopEntry(const string &name, const string &exec, const char *categories)
{
    return "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + exec + " %U\nIcon=" + exec + "\nTerminal=false\nCategories=" + categories + "\n";
}

} // namespace genhome
