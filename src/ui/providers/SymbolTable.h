#pragma once

#include <QHash>
#include <QObject>
#include <QQmlEngine>
#include <QUrl>

// The symbols of the program, by the names it gives them ("photo", "play.rectangle"), drawn by icons
// that are built into the program, so it depends on no icon theme of the desktop.
class SymbolTable : public QObject
{
    Q_OBJECT
    QML_NAMED_ELEMENT(Symbols)
    QML_SINGLETON

public:
    explicit SymbolTable(QObject *parent = nullptr);

    // "qrc:/symbols/image.svg" for "photo"; a question mark, and one warning, for an unknown name.
    Q_INVOKABLE static QUrl source(const QString &name);
    // The icon name of a symbol; empty when the table does not know it.
    static QString iconName(const QString &name);
    static const QHash<QString, QString> &table();
};
