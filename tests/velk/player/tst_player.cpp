#include "TestHome.h"
#include "TestNames.h"
#include "player/Player.h"

#include <QAudioDevice>
#include <QMediaDevices>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

// An engine the test drives by hand: it records what the player asks of it and reports time and
// ends only when told to.
class ScriptedEngine final : public PlayerEngine
{
public:
    Item replaceCurrentItem(const QUrl &url) override
    {
        loaded.append(url);
        length = std::numeric_limits<double>::quiet_NaN();
        return current = ++last;
    }
    Item currentItem() const override { return current; }
    double currentItemDuration() const override { return length; }
    void play() override { playing = true; }
    void pause() override { playing = false; }
    void seek(double seconds) override { seeks.append(seconds); }
    void setVolume(float v) override { volume = v; }

    void tick(double seconds) { Q_EMIT timeObserved(seconds); }
    void end(Item item) { Q_EMIT itemEnded(item); }
    void endCurrent() { end(current); }

    QList<QUrl> loaded;
    QList<double> seeks;
    Item current = 0;
    Item last = 0;
    double length = std::numeric_limits<double>::quiet_NaN();
    bool playing = false;
    float volume = -1;
};

FileItem song(const QString &name, std::optional<double> duration = std::nullopt)
{
    FileItem item;
    item.url = QUrl::fromLocalFile(u"/music/"_s + name);
    item.name = name;
    item.category = FileCategory::music;
    item.duration = duration;
    return item;
}

FileItem other(const QString &name, FileCategory category)
{
    FileItem item;
    item.url = QUrl::fromLocalFile(u"/music/"_s + name);
    item.name = name;
    item.category = category;
    return item;
}

const QList<FileItem> kFour = {song(u"a.mp3"_s), song(u"b.mp3"_s), song(u"c.mp3"_s), song(u"d.mp3"_s)};

} // namespace

class TestPlayer : public QObject
{
    Q_OBJECT

    ScriptedEngine *engine = nullptr;
    std::unique_ptr<Player> player;

private Q_SLOTS:
    void init()
    {
        engine = new ScriptedEngine;
        player = std::make_unique<Player>(engine);
    }

    void startsEmptyWithItsVolume()
    {
        QCOMPARE(player->index(), std::nullopt);
        QCOMPARE(engine->volume, 0.8f);
        player->togglePlay();
        QVERIFY(!player->isPlaying());
        player->next();
        player->previous();
        QVERIFY(engine->loaded.isEmpty());
        player->setVolume(1.7);
        QCOMPARE(engine->volume, 1.0f);
    }

    void queues_data()
    {
        QTest::addColumn<QList<FileItem>>("list");
        QTest::addColumn<FileItem>("item");
        QTest::addColumn<QStringList>("queue");
        QTest::addColumn<qint64>("index");
        const FileItem folder = other(u"Albums"_s, FileCategory::folders);
        const FileItem clip = other(u"clip.mp4"_s, FileCategory::videos);
        QTest::newRow("music of a mixed list") << QList {kFour[0], folder, kFour[1], kFour[2], clip, kFour[3]} << kFour[2]
                                               << QStringList {u"a.mp3"_s, u"b.mp3"_s, u"c.mp3"_s, u"d.mp3"_s} << qint64(2);
        QTest::newRow("track not in the list") << kFour << song(u"z.mp3"_s) << QStringList {u"z.mp3"_s} << qint64(0);
        QTest::newRow("a video plays alone") << QList {kFour[0], clip} << clip << QStringList {u"clip.mp4"_s} << qint64(0);
        QTest::newRow("duplicates: the first") << QList {kFour[1], kFour[0], kFour[1]} << kFour[1] << QStringList {u"b.mp3"_s, u"a.mp3"_s, u"b.mp3"_s}
                                               << qint64(0);
    }

    void queues()
    {
        QFETCH(QList<FileItem>, list);
        QFETCH(FileItem, item);
        QFETCH(QStringList, queue);
        QFETCH(qint64, index);
        player->play(item, list);
        QCOMPARE(names(player->queue()), queue);
        QCOMPARE(player->index(), index);
        QCOMPARE(player->current()->url, item.url);
        QCOMPARE(engine->loaded, QList {item.url});
        QVERIFY(engine->playing && player->isPlaying());
    }

    void previous_data()
    {
        QTest::addColumn<qint64>("start");
        QTest::addColumn<double>("time");
        QTest::addColumn<qint64>("index");
        QTest::addColumn<bool>("restarted"); // the same track from 0, without loading it again
        QTest::newRow("at 3.0 the track before") << qint64(2) << 3.0 << qint64(1) << false;
        QTest::newRow("at 3.1 the same track") << qint64(2) << 3.1 << qint64(2) << true;
        QTest::newRow("first track wraps to the last") << qint64(0) << 1.0 << qint64(3) << false;
    }

    void previous()
    {
        QFETCH(qint64, start);
        QFETCH(double, time);
        QFETCH(qint64, index);
        QFETCH(bool, restarted);
        player->play(kFour[start], kFour);
        player->togglePlay(); // paused: a restart leaves it paused, a change of track plays
        engine->tick(time);
        QCOMPARE(player->currentTime(), time);
        player->previous();
        QCOMPARE(player->index(), index);
        QCOMPARE(player->currentTime(), 0.0);
        QCOMPARE(engine->loaded.size(), restarted ? 1 : 2);
        QCOMPARE(engine->seeks, restarted ? QList {0.0} : QList<double> {});
        QCOMPARE(player->isPlaying(), !restarted);
    }

    void nextWrapsButTheQueueEnds()
    {
        player->play(kFour[3], kFour);
        player->next();
        QCOMPARE(player->index(), 0);
        QVERIFY(player->isPlaying());

        // Natural ends walk on through the queue and stop after the last track, which stays loaded.
        engine->endCurrent();
        QCOMPARE(player->index(), 1);
        player->seek(2);
        player->next();
        player->next();
        engine->tick(40);
        QSignalSpy stopped(player.get(), &Player::isPlayingChanged);
        engine->endCurrent();
        QCOMPARE(player->index(), 3);
        QVERIFY(!player->isPlaying());
        QCOMPARE(stopped.size(), 1);
        QCOMPARE(player->currentTime(), 0.0);
        QCOMPARE(engine->seeks.last(), 0.0);
        QCOMPARE(engine->loaded.size(), 5);
    }

    void repeatWinsOverShuffle()
    {
        player->play(kFour[1], kFour);
        player->setRepeatOne(true);
        player->setShuffle(true);
        engine->tick(12);
        engine->endCurrent();
        QCOMPARE(player->index(), 1);
        QCOMPARE(player->currentTime(), 0.0);
        QCOMPARE(engine->seeks, QList {0.0});
        QCOMPARE(engine->loaded.size(), 1);

        // The command still draws at random, sometimes the same track; every track comes up.
        QSet<qint64> drawn;
        bool jumped = false;
        for (int i = 0; i < 200; ++i) {
            const qint64 before = *player->index();
            player->next();
            drawn.insert(*player->index());
            jumped = jumped || (*player->index() != (before + 1) % 4);
        }
        QCOMPARE(drawn.size(), 4);
        QVERIFY(jumped);

        // Shuffle alone never runs out.
        player->setRepeatOne(false);
        for (int i = 0; i < 20; ++i)
            engine->endCurrent();
        QVERIFY(player->isPlaying());
    }

    void queueOfOne()
    {
        player->play(kFour[0], {});
        engine->endCurrent();
        QVERIFY(!player->isPlaying());
        player->next();
        QVERIFY(player->isPlaying());
        QCOMPARE(engine->loaded.size(), 2);
        engine->tick(2.5);
        player->previous();
        QCOMPARE(engine->loaded.size(), 3);
        QCOMPARE(player->index(), 0);
    }

    void staleEndIsIgnored()
    {
        player->play(kFour[0], kFour);
        const PlayerEngine::Item first = engine->current;
        player->next();
        QSignalSpy index(player.get(), &Player::indexChanged);
        QSignalSpy playing(player.get(), &Player::isPlayingChanged);
        engine->end(first);
        QCOMPARE(player->index(), 1);
        QVERIFY(index.isEmpty() && playing.isEmpty());
    }

    void durationFromMetadataThenEngine()
    {
        player->play(song(u"long.mp3"_s, 200.0), {});
        QCOMPARE(player->duration(), 200.0);
        engine->tick(0.25);
        QCOMPARE(player->duration(), 200.0);
        engine->length = 181.5;
        engine->tick(0.5);
        QCOMPARE(player->duration(), 181.5);

        player->play(song(u"untagged.mp3"_s), {});
        QCOMPARE(player->duration(), 0.0);
        engine->tick(std::numeric_limits<double>::infinity());
        QCOMPARE(player->currentTime(), 0.0);
        QCOMPARE(player->duration(), 0.0);
        engine->length = 42;
        QSignalSpy time(player.get(), &Player::currentTimeChanged);
        engine->tick(0.75);
        engine->tick(0.75);
        QCOMPARE(player->duration(), 42.0);
        QCOMPARE(time.size(), 1);
    }

    void playsARealFile()
    {
        // Qt 6.4's FFmpeg backend crashes without an audio device.
        qputenv("QT_MEDIA_BACKEND", "gstreamer");
        TestHome home;
        const QString path = home.path(u"tone.ogg"_s);
        QProcess ffmpeg;
        ffmpeg.start(u"ffmpeg"_s,
            {u"-hide_banner"_s, u"-loglevel"_s, u"error"_s, u"-y"_s, u"-f"_s, u"lavfi"_s, u"-i"_s, u"sine=frequency=440:duration=1.5"_s, u"-c:a"_s,
                u"libvorbis"_s, path});
        QVERIFY(ffmpeg.waitForFinished(60'000) && ffmpeg.exitCode() == 0);
        const auto item = FileItem::fromUrl(QUrl::fromLocalFile(path));
        QVERIFY(item);
        QCOMPARE(item->category, FileCategory::music);

        Player real;
        double latest = 0;
        connect(&real, &Player::currentTimeChanged, this, [&] { latest = std::max(latest, real.currentTime()); });
        real.play(*item, {*item});
        QVERIFY(real.isPlaying());
        QTRY_VERIFY_WITH_TIMEOUT(!real.isPlaying() || latest > 0, 10'000);
        if (latest == 0 && real.isPlaying() && QMediaDevices::audioOutputs().isEmpty())
            QSKIP("no audio output device here, and this media backend plays nothing without one");
        // A queue of one plays to its end and stops at the start, with the engine's length.
        QTRY_VERIFY_WITH_TIMEOUT(!real.isPlaying(), 15'000);
        QVERIFY(latest > 0.5);
        QCOMPARE(real.currentTime(), 0.0);
        QVERIFY2(std::abs(real.duration() - 1.5) < 0.1, qPrintable(QString::number(real.duration())));
        QCOMPARE(real.index(), 0);
    }
};

QTEST_MAIN(TestPlayer)
#include "tst_player.moc"
