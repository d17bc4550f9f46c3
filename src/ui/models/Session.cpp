#include "Session.h"

#include "providers/Mpris.h"
#include "state/LegacyMigration.h"
#include "thumbnails/Thumbnails.h"

Session::Session(mdindex::MetadataIndex &index, Options options)
{
    m_store = std::make_unique<LibraryStore>(index);
    m_player = std::make_unique<Player>();
    m_duplicates = std::make_unique<DuplicateFinder>(index);
    m_cleanup = std::make_unique<CleanupStore>(index);
    m_sources = std::make_unique<SourceStore>(index);
    m_updater = std::make_unique<AppUpdater>(options.updateFeed);
    LegacyMigration::run();
    m_settings = options.settingsPath.isEmpty() ? std::make_unique<Settings>() : std::make_unique<Settings>(options.settingsPath);
    m_state = std::make_unique<AppState>(*m_settings);
    m_textIndex = std::make_unique<TextIndex>();
    m_resets = std::make_unique<NavigationResets>(*m_state);

    m_stores = Stores {
        .state = m_state.get(),
        .store = m_store.get(),
        .player = m_player.get(),
        .textIndex = m_textIndex.get(),
        .duplicates = m_duplicates.get(),
        .cleanup = m_cleanup.get(),
        .sources = m_sources.get(),
        .updater = m_updater.get(),
        .thumbnails = &Thumbnails::shared(),
    };
    if (options.mediaControls)
        m_mpris = std::make_unique<Mpris>(*m_player);
    if (options.warmUp)
        m_warmUp = std::make_unique<WarmUp>(
            WarmUp::Parts {m_state.get(), m_store.get(), options.readText ? m_textIndex.get() : nullptr, m_sources.get(), m_cleanup.get(), m_duplicates.get()});
}

Session::~Session() = default;

void Session::attach(QQmlEngine &engine) const
{
    UiStores::attach(engine, m_stores);
}
