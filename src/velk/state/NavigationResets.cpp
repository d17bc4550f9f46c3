#include "NavigationResets.h"

#include "state/AppState.h"

NavigationResets::NavigationResets(AppState &state, QObject *parent)
    : QObject(parent)
    , m_state(state)
{
    connect(&state, &AppState::selectionChanged, this, &NavigationResets::selectionChanged);
    connect(&state, &AppState::folderPathChanged, this, &NavigationResets::folderPathChanged);
    connect(&state, &AppState::searchTextChanged, this, &NavigationResets::searchTextChanged);
    connect(&state, &AppState::toastChanged, this, &NavigationResets::toastChanged);
    m_toastTimer.setSingleShot(true);
    m_toastTimer.setTimerType(Qt::PreciseTimer);
    m_toastTimer.setInterval(kToastMilliseconds);
    toastChanged();
}

void NavigationResets::selectionChanged()
{
    // Every setter notifies only on a real change, so unchanged filters are left untouched.
    m_state.setFolderPath({});
    m_state.setSelectedFiles({});
    m_state.setFocusedItem(std::nullopt);
    m_state.setKindFilter(std::nullopt);
    m_state.setDateFilter(DateFilter::any);
    m_state.setSizeFilter(SizeFilter::any);
    m_state.setSourceFilter(std::nullopt);
}

void NavigationResets::folderPathChanged()
{
    m_state.setSelectedFiles({});
    m_state.setFocusedItem(std::nullopt);
}

void NavigationResets::searchTextChanged()
{
    m_state.setKindFilter(std::nullopt);
}

void NavigationResets::toastChanged()
{
    m_toastTimer.disconnect(this);
    m_toastTimer.stop();
    const auto toast = m_state.toast();
    if (!toast || toast->sticky)
        return;
    // Only the toast this timer was started for is taken away: a newer one has its own time.
    connect(&m_toastTimer, &QTimer::timeout, this, [this, id = toast->id] {
        if (const auto present = m_state.toast(); present && present->id == id)
            m_state.setToast(std::nullopt);
    });
    m_toastTimer.start();
}
