#pragma once

#include "models/Destinations.h"
#include "models/FileItem.h"

#include <QCoro/QCoroTask>
#include <QObject>

class AppState;
class LibraryStore;
class TextIndex;
class SourceStore;
class CleanupStore;
class DuplicateFinder;

// The work every start and every refresh does, whatever is on screen: the nine sidebar loads side by
// side, then one chain that reads text in screenshots and pictures, awaits every collection, files
// downloads by source, gathers clean-up suggestions and, once, looks for duplicates. A new refresh
// token abandons the chain at its next step; loads already begun run on.
class WarmUp : public QObject
{
    Q_OBJECT

public:
    // The most pictures (besides every screenshot) a pass reads text in, and the narrowest worth it.
    static constexpr int kPictureLimit = 1500;
    static constexpr int kNarrowestPicture = 300;

    struct Parts {
        AppState *state = nullptr;
        LibraryStore *store = nullptr;
        TextIndex *textIndex = nullptr;
        SourceStore *sources = nullptr;
        CleanupStore *cleanup = nullptr;
        DuplicateFinder *duplicates = nullptr;
    };

    // Starts at once with the present token, and again on each new one.
    explicit WarmUp(Parts parts, QObject *parent = nullptr);

    // The six library categories, then recents, large files and screenshots.
    static QList<SidebarItem> workList();
    // What the chain hands to text reading: every screenshot, then the first pictures that are not
    // known to be narrow.
    static QList<FileItem> toRead(const QList<FileItem> &screenshots, const QList<FileItem> &images);

    // Steps of the chain finished for the present token; for tests and the start-up measurement.
    int chainStep() const { return m_chainStep; }
    bool chainFinished() const { return m_chainStep == kChainSteps; }
    static constexpr int kChainSteps = 7;

Q_SIGNALS:
    void chainStepChanged();

private:
    void start();
    QCoro::Task<> chain(int token);
    void setChainStep(int step);

    Parts m_parts;
    int m_chainStep = 0;
};
