#pragma once

#include "Settings.h"
#include "Stores.h"
#include "TestIndex.h"
#include "state/NavigationResets.h"

#include <QCoro/QCoroTask>

#include <memory>

// Real stores over a real index of a test home that the test fills first, then indexes with build().
struct StoreWorld {
    TestHome home;
    std::unique_ptr<mdindex::MetadataIndex> index;
    std::unique_ptr<Settings> settings;
    std::unique_ptr<AppState> state;
    std::unique_ptr<LibraryStore> store;
    std::unique_ptr<DuplicateFinder> duplicates;
    std::unique_ptr<CleanupStore> cleanup;
    std::unique_ptr<SourceStore> sources;
    std::unique_ptr<TextIndex> textIndex;
    std::unique_ptr<NavigationResets> resets;
    // Extractors beyond the built-in facts, added before the index first reads the home.
    std::vector<std::unique_ptr<mdindex::Extractor>> extractors;

    void build()
    {
        index = std::make_unique<mdindex::MetadataIndex>(indexOptions(home));
        for (auto &extractor : extractors)
            index->addExtractor(std::move(extractor));
        index->open();
        index->update();
        settings = std::make_unique<Settings>(home.path(QStringLiteral(".config/velk/Velk.conf")));
        state = std::make_unique<AppState>(*settings);
        store = std::make_unique<LibraryStore>(*index, LibraryStore::defaultScopes());
        duplicates = std::make_unique<DuplicateFinder>(*index);
        cleanup = std::make_unique<CleanupStore>(*index);
        sources = std::make_unique<SourceStore>(*index);
        textIndex = std::make_unique<TextIndex>();
        resets = std::make_unique<NavigationResets>(*state);
    }

    Stores stores() const
    {
        Stores s;
        s.state = state.get();
        s.store = store.get();
        s.duplicates = duplicates.get();
        s.cleanup = cleanup.get();
        s.sources = sources.get();
        s.textIndex = textIndex.get();
        return s;
    }

    void load(const SidebarItem &item) { QCoro::waitFor(store->result(item, 0)); }
};
