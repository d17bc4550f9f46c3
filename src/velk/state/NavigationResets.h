#pragma once

#include <QObject>
#include <QTimer>

class AppState;

// What keeps the marks and filters consistent while the person moves around: a new destination
// clears the folder walk, the marks and every filter; a step in the walk clears the marks; new search
// text drops the kind filter alone. Also retires each passing toast after its time.
class NavigationResets : public QObject
{
    Q_OBJECT

public:
    static constexpr int kToastMilliseconds = 2600;

    explicit NavigationResets(AppState &state, QObject *parent = nullptr);

private:
    void selectionChanged();
    void folderPathChanged();
    void searchTextChanged();
    void toastChanged();

    AppState &m_state;
    QTimer m_toastTimer;
};
