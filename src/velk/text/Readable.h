#pragma once

#include "text/TextRecognizer.h"

struct FileItem;

namespace TextRecognizer {

// The one rule of what can be read: pictures other than SVG, and files of any other category whose
// content type is PDF. Plain text and other documents are not read.
bool canRead(const FileItem &item);

} // namespace TextRecognizer
