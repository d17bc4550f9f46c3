#pragma once

#include "models/FileItem.h"

#include <QList>

class AppState;
class TextIndex;

// The command that reads the text in several pictures and PDFs and puts it on the clipboard, telling
// its progress and outcome by toast.
namespace CopyText {

// Main thread; returns at once. Only the readable items are read, one at a time and in order; the
// clipboard stays as it was when none of them has any text.
void run(const QList<FileItem> &items, TextIndex &index, AppState &state);

} // namespace CopyText
