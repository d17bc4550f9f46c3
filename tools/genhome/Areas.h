// The generators of each area of the home folder; each fills its Writer's budget of files.
#pragma once

#include "Writer.h"

#include <cstdint>
#include <functional>
#include <string>

namespace genhome {

// npm packs every file with this date, so node_modules looks like 1985.
constexpr int64_t NpmEpoch = 499162500;

// Spreads n files over a tree below `base` at most `depth` levels deep; `put` writes one file into a folder.
void tree(Writer &w, const string &base, int64_t n, int depth, const std::function<string()> &dirName, const std::function<void(const string &)> &put);

// The visible folders (Areas.cpp).
void desktop(Writer &w);
void documents(Writer &w);
void pictures(Writer &w);
void videos(Writer &w);
void music(Writer &w);
void downloads(Writer &w);
// Code projects below `root` (Projects.cpp).
void projects(Writer &w, const string &root);
// Hidden folders and installed apps (Dotfolders.cpp).
void cache(Writer &w);
void config(Writer &w);
void local(Writer &w);
void dotfiles(Writer &w);
void apps(Writer &w);

} // namespace genhome
