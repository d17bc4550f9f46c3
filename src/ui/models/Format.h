#pragma once

#include <QColor>
#include <QDateTime>
#include <QObject>
#include <QQmlEngine>

// The program's one way of writing sizes, durations, dates and counts, for QML.
class Format : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

public:
    explicit Format(QObject *parent = nullptr);

    Q_INVOKABLE static QString bytes(qint64 count);
    Q_INVOKABLE static QString duration(double seconds);
    // "-0:42": the time left, never below zero.
    Q_INVOKABLE static QString remaining(double currentTime, double duration);
    Q_INVOKABLE static QString date(const QDateTime &date);
    // The locale's grouping: "12,345".
    Q_INVOKABLE static QString count(qint64 n);
    // `n` and the noun, with an "s" unless `n` is 1: "1 item", "3 items".
    Q_INVOKABLE static QString counted(qint64 n, const QString &noun);
    // The symbol of a kind of file, by its raw name ("images" -> "photo").
    Q_INVOKABLE static QString categorySymbol(const QString &raw);
    // The tint of a kind of file, by its raw name or its destination key ("category/images").
    Q_INVOKABLE static QColor categoryTint(const QString &rawOrKey);
    // The same name always gets the same of the six pastels.
    Q_INVOKABLE static QColor pastel(const QString &name);
    // How a file is shown at length: "picture", "video", "audio", "pdf", "text", "folder" or "other".
    Q_INVOKABLE static QString previewKind(const QVariant &item);
};
