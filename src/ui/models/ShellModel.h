#pragma once

#include "Stores.h"

#include <QObject>
#include <QQmlEngine>
#include <QVariantList>

// What the top bar and the commands compute: the library's size, the progress of text reading, the
// places of the Go menu, and the commands that need more than one store.
class ShellModel : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    QML_ELEMENT
    Q_PROPERTY(QString librarySize READ librarySize NOTIFY figuresChanged)
    Q_PROPERTY(QString readingText READ readingText NOTIFY figuresChanged)
    Q_PROPERTY(QVariantList locations READ locations CONSTANT)

public:
    explicit ShellModel(QObject *parent = nullptr);
    void setStores(const Stores &stores);

    // The summed size of the six library kinds that are loaded; "—" before any is.
    QString librarySize() const;
    // "Reading text in images 1,234/5,000"
    QString readingText() const;
    // The first seven standard places: {title, key, symbol}.
    QVariantList locations() const;

    // The Copy Text command: the file on show in the preview, else the marked files (or the focused
    // one when none is marked).
    Q_INVOKABLE void copyTextFromImage();
    QList<FileItem> copyTextTargets() const;
    // One level up in a folder walk; nothing elsewhere.
    Q_INVOKABLE void back();
    // Moves the volume by `delta`, held between 0 and 1.
    Q_INVOKABLE void changeVolume(double delta);

    void classBegin() override { }
    void componentComplete() override;

Q_SIGNALS:
    void figuresChanged();

private:
    Stores m_stores;
};
