#pragma once

#include <QString>

// A file name's extension as a file's type is told by it: the text after the last dot, none for names
// that only begin with a dot (".bashrc").
inline QString pathExtension(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot <= slash + 1)
        return {};
    return path.mid(dot + 1);
}
