#pragma once

#include <QString>

// Whether a picture or video is a capture of the screen: by where it lies, by the name screenshot and
// screencast tools give, or by the tool named in its own metadata.
namespace mdindex::ScreenCapture {

// The folders where screenshot and screencast tools put their files: Screenshots in the pictures
// folder, Screencasts in the videos folder. Resolved once, for a walk over many files.
struct Places {
    static Places current();
    QString screenshots;
    QString screencasts;
};

// By place and name alone, without reading the file.
bool byPlaceOrName(const QString &path, QStringView name, bool video);
bool byPlaceOrName(const Places &places, const QString &path, QStringView name, bool video);
// Whether a "Software" or "CreatorTool" value names a screenshot or screencast tool.
bool namesCaptureTool(QStringView software);

} // namespace mdindex::ScreenCapture
