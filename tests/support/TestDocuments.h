#pragma once

#include <QBuffer>
#include <QByteArray>
#include <QPainter>
#include <QPdfWriter>
#include <QString>

// A one-page PDF whose embedded text is `text`, as a word processor would write it. Needs a
// QGuiApplication (fonts).
inline QByteArray pdfWith(const QString &text)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    QPainter(&writer).drawText(200, 400, text);
    return bytes;
}
