#pragma once

#include <QImage>
#include <QString>

namespace imaging {

// A small upright picture of the file's first image: at most `maxPixelSize` on its longer side, never
// enlarged, turned as its orientation says. JPEG is decoded at a reduced scale, HEIC and HEIF through
// libheif, camera RAW from the preview the camera embedded (libraw). A null image when the file holds
// no picture we can read; any bytes are safe to hand in.
QImage thumbnail(const QString &path, int maxPixelSize);

// Whether the extension (any case, no dot) names a camera RAW format.
bool isCameraRaw(QStringView extension);

} // namespace imaging
