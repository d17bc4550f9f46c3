#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QTemporaryDir>

#include <optional>

// A throw-away home folder for one test: HOME and the XDG base folders point into it for the test's
// lifetime, and the helpers write real files with chosen contents, dates and extended attributes. The
// system's data and configuration folders (XDG_DATA_DIRS, XDG_CONFIG_DIRS) are a second throw-away
// folder too, holding only the machine's MIME database: no installed application, icon theme or
// configuration of the machine reaches a test unless the test puts it there (systemFile).
class TestHome
{
public:
    TestHome();
    ~TestHome();
    TestHome(const TestHome &) = delete;
    TestHome &operator=(const TestHome &) = delete;

    bool isValid() const { return m_dir.isValid(); }
    QString root() const { return m_dir.path(); }
    // Absolute path of `relative` below the home folder.
    QString path(const QString &relative) const;

    // Writes a file (parents created), optionally with a modification time. Returns its absolute path.
    QString file(const QString &relative, const QByteArray &contents = {}, const std::optional<QDateTime> &modified = std::nullopt);
    // A sparse file of exactly `size` bytes.
    QString sparseFile(const QString &relative, qint64 size);
    QString folder(const QString &relative);
    // Absolute path of `relative` below the system's data folder (the only entry of XDG_DATA_DIRS), and
    // a file written there: "applications/x.desktop", "icons/hicolor/index.theme".
    QString systemPath(const QString &relative) const;
    QString systemFile(const QString &relative, const QByteArray &contents = {});
    // The only entry of XDG_CONFIG_DIRS.
    QString systemConfigPath(const QString &relative) const;
    // Writes ~/.config/user-dirs.dirs with the given entries, e.g. {"XDG_VIDEOS_DIR", "Filme"}.
    void setUserDirs(const QList<std::pair<QString, QString>> &entries);

    static bool setModified(const QString &path, const QDateTime &when);
    static bool setXattr(const QString &path, const QByteArray &name, const QByteArray &value);

private:
    QTemporaryDir m_dir;
    QTemporaryDir m_system;
    QList<std::pair<QByteArray, std::optional<QByteArray>>> m_savedEnv;
};
