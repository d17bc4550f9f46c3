#pragma once

#include "Settings.h"
#include "Stores.h"
#include "state/NavigationResets.h"
#include "state/WarmUp.h"

#include <memory>

namespace mdindex {
class MetadataIndex;
}
class QQmlEngine;
class Mpris;

// One run of the program: every store, built once in the order in which they depend on each other
// (the settings are migrated before AppState reads them), the rules that keep navigation consistent,
// and the warm-up work. The program, its tests and its benchmarks build the window on one of these.
class Session
{
public:
    struct Options {
        // The settings file; empty for the user's own.
        QString settingsPath;
        QUrl updateFeed;
        // Start the warm-up loads at once.
        bool warmUp = true;
        // Offer the player to the desktop's media controls.
        bool mediaControls = false;
        // Read the text in screenshots and pictures as part of the warm-up.
        bool readText = true;
    };

    Session(mdindex::MetadataIndex &index, Options options);
    ~Session();

    const Stores &stores() const { return m_stores; }
    WarmUp *warmUp() const { return m_warmUp.get(); }
    // Hands the stores to `engine`; call before loading QML.
    void attach(QQmlEngine &engine) const;

private:
    std::unique_ptr<LibraryStore> m_store;
    std::unique_ptr<Player> m_player;
    std::unique_ptr<DuplicateFinder> m_duplicates;
    std::unique_ptr<CleanupStore> m_cleanup;
    std::unique_ptr<SourceStore> m_sources;
    std::unique_ptr<AppUpdater> m_updater;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<AppState> m_state;
    std::unique_ptr<TextIndex> m_textIndex;
    std::unique_ptr<NavigationResets> m_resets;
    std::unique_ptr<WarmUp> m_warmUp;
    std::unique_ptr<Mpris> m_mpris;
    Stores m_stores;
};
