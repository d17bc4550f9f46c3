#pragma once

#include <QString>

// What Velk keeps about a person's files (the index, the text of their documents, their settings, the
// list of files that could not be read) is theirs alone: files 0600 in folders 0700, whatever the umask,
// and files or folders an earlier version left looser are tightened when they are next used.
namespace PrivateFiles {

// Makes the folder (and any missing parents) and sets the folder itself to 0700. False when it cannot
// be made.
bool makeFolder(const QString &path);
// Makes the file's folder private (makeFolder), then creates the file empty with 0600 when it is not
// there, or sets it to 0600 when it is. A file written afterwards through QSaveFile keeps that mode.
bool prepareFile(const QString &path);
// Sets a file that exists to 0600; nothing for one that does not.
void tighten(const QString &path);

} // namespace PrivateFiles
