#pragma once

namespace velk::detail {

// One declared type: its identifier, the identifiers it directly conforms to, the MIME types that map
// to it (the first is preferred), the name extensions that stand for it, and a description for types
// that have no MIME type to describe them. Lists are separated by single spaces.
struct TypeDeclaration {
    const char *identifier;
    const char *parents;
    const char *mimeTypes;
    const char *extensions;
    const char *description;
};

const TypeDeclaration *typeDeclarations(int *count);

} // namespace velk::detail
