#pragma once

#include "models/FileItem.h"

#include <QList>
#include <QMetaType>
#include <QUrl>
#include <QUuid>

// Files found to hold the same contents, or to show the same picture, and the one of them to keep.
// A group is alive while it has at least two files.
struct DuplicateGroup {
    QUuid id = QUuid::createUuid();
    QList<FileItem> files;
    QUrl keep;
    // The files were compared by samples (they are larger than a scan reads whole): equal prints make
    // them likely copies, not proven ones, until they are compared in full.
    bool sampled = false;

    // Every file but the kept one, in the order of `files`.
    QList<FileItem> extras() const;
    // What trashing the extras would free.
    qint64 reclaimable() const;

    friend bool operator==(const DuplicateGroup &, const DuplicateGroup &) = default;
};

Q_DECLARE_METATYPE(DuplicateGroup)
