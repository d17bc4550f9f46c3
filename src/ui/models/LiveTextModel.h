#pragma once

#include <QAbstractListModel>
#include <QList>
#include <QQmlEngine>
#include <QRectF>
#include <QSize>
#include <QSizeF>
#include <QUrl>

#include <atomic>
#include <memory>
#include <optional>

struct RecognizedText;

// The words on a picture, for selecting text right on it: each word with its box as a fraction of the
// upright picture (so a view multiplies by the size it paints at), its line and whether it is
// selected. The picture is read through the parsing workers off the main thread; what was read is
// never stored, only remembered for the last few pictures so that turning the mode off and on again
// shows the words at once.
class LiveTextModel : public QAbstractListModel
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl url READ url WRITE setUrl NOTIFY urlChanged)
    Q_PROPERTY(Status status READ status NOTIFY statusChanged)
    Q_PROPERTY(QSizeF pictureSize READ pictureSize NOTIFY pictureSizeChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)
    Q_PROPERTY(bool hasSelection READ hasSelection NOTIFY selectionChanged)
    Q_PROPERTY(QString selectedText READ selectedText NOTIFY selectionChanged)
    Q_PROPERTY(int reads READ reads NOTIFY readsChanged)

public:
    // Capitalised, as QML only looks up enum keys that are.
    enum Status {
        Empty, // no picture, a picture that is gone or unreadable, or no words on it
        Reading,
        Ready,
    };
    Q_ENUM(Status)

    enum Role {
        TextRole = Qt::UserRole + 1,
        BoxRole,
        LineRole,
        SelectedRole,
    };
    Q_ENUM(Role)

    struct Word {
        QString text;
        QRectF box; // 0..1 of the picture
        int line = 0;
    };

    explicit LiveTextModel(QObject *parent = nullptr);
    ~LiveTextModel() override;

    QUrl url() const { return m_url; }
    void setUrl(const QUrl &url);
    Status status() const { return m_status; }
    QSizeF pictureSize() const { return m_pictureSize; }
    int count() const { return int(m_words.size()); }
    bool hasSelection() const;
    // The selected words in reading order: a space between words of a line, "\n" between lines.
    QString selectedText() const;
    // How many recognitions this model has really begun (a read asked for a picture that was left
    // before a thread was free for it is never begun); announced as each one ends.
    int reads() const { return m_shared->started.load(); }

    // Whether the words of the picture, as it is on disk now, are at hand without reading it.
    static bool remembers(const QUrl &url);

    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

    // The word whose box holds the point (0..1 of the picture), else -1.
    Q_INVOKABLE int wordAt(qreal x, qreal y) const;
    // For a drag that starts or ends between words: of the line whose band holds the point, the word
    // nearest across; off every line, the word with the nearest box. -1 only when there are no words.
    Q_INVOKABLE int nearestWord(qreal x, qreal y) const;
    // Every word from one to the other in reading order, both included, whichever comes first.
    // An index out of range selects nothing.
    Q_INVOKABLE void select(int anchor, int current);
    Q_INVOKABLE void selectWord(int index);
    Q_INVOKABLE void selectLine(int index);
    Q_INVOKABLE void selectAll();
    Q_INVOKABLE void clearSelection();
    // The selected text onto the clipboard; false, and the clipboard left alone, when none is selected.
    Q_INVOKABLE bool copySelection();

Q_SIGNALS:
    void urlChanged();
    void statusChanged();
    void pictureSizeChanged();
    void countChanged();
    void selectionChanged();
    void readsChanged();

private:
    // A picture as it is on disk now: another size or time is another picture.
    struct PictureKey {
        QString path;
        qint64 size = 0;
        qint64 modifiedNs = 0;
        bool operator==(const PictureKey &) const = default;
    };
    struct Found {
        QList<Word> words;
        QSizeF pictureSize;
    };

    // What the model shares with the reads it set off, which may outlive it.
    struct Shared {
        // The generation of the url shown now: a read for another one is not begun.
        std::atomic<quint64> wanted {0};
        std::atomic<int> started {0};
    };

    static std::optional<PictureKey> keyOf(const QUrl &url);
    static QList<std::pair<PictureKey, Found>> &cache();
    static Found normalised(const RecognizedText &read, QSize pictureSize);

    void setStatus(Status status);
    void show(const Found &found);
    void read(const PictureKey &key);
    // Selects exactly the words for which `wanted` holds, telling views of the rows that changed.
    template<typename Wanted>
    void applySelection(Wanted wanted);

    QUrl m_url;
    Status m_status = Empty;
    QSizeF m_pictureSize;
    QList<Word> m_words;
    QList<bool> m_selected;
    // Counts the urls shown: an answer for an earlier generation is dropped.
    quint64 m_generation = 0;
    std::shared_ptr<Shared> m_shared;
};
