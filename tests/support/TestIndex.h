#pragma once

#include "TestHome.h"
#include "TestNames.h"
#include "mdindex/MetadataIndex.h"

// An index over a test home as the app keeps one: the store in the home's cache folder, the home
// and the user's own application folder as roots.
inline mdindex::MetadataIndex::Options indexOptions(const TestHome &home)
{
    mdindex::MetadataIndex::Options options;
    options.storePath = home.path(QStringLiteral(".cache/velk/index.sqlite"));
    options.roots = {home.root(), home.path(QStringLiteral(".local/share/applications"))};
    return options;
}
