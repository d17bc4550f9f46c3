#pragma once

#include "PlayerEngine.h"

#include <QTimer>

class QAudioOutput;
class QMediaPlayer;

// Plays through Qt Multimedia, on the main thread.
class MediaEngine final : public PlayerEngine
{
    Q_OBJECT

public:
    explicit MediaEngine(QObject *parent = nullptr);
    ~MediaEngine() override;

    Item replaceCurrentItem(const QUrl &url) override;
    Item currentItem() const override { return m_current; }
    double currentItemDuration() const override;
    void play() override;
    void pause() override;
    void seek(double seconds) override;
    void setVolume(float volume) override;

private:
    QMediaPlayer *m_player = nullptr;
    QAudioOutput *m_output = nullptr;
    QTimer m_ticker;
    Item m_current = 0;
    Item m_lastItem = 0;
};
