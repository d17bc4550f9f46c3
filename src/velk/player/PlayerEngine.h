#pragma once

#include <QObject>
#include <QUrl>

// What the player needs of something that plays audio: one current item at a time, and two kinds of
// news about it. Items are told apart by a number, so news about a replaced item can be recognised.
class PlayerEngine : public QObject
{
    Q_OBJECT

public:
    using Item = quint64; // 0: no item

    using QObject::QObject;

    // Makes a new item of the file the current one, paused at its start; returns it.
    virtual Item replaceCurrentItem(const QUrl &url) = 0;
    virtual Item currentItem() const = 0;
    // The current item's length as the decoder knows it; not finite while unknown.
    virtual double currentItemDuration() const = 0;
    virtual void play() = 0;
    virtual void pause() = 0;
    virtual void seek(double seconds) = 0;
    virtual void setVolume(float volume) = 0;

Q_SIGNALS:
    // Every quarter of a second while time moves, with the position in seconds.
    void timeObserved(double seconds);
    // An item played to its end. May arrive after the item was replaced.
    void itemEnded(PlayerEngine::Item item);
};
