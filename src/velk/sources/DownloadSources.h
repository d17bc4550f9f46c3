#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

// Where a file was downloaded from: a service, a web site, a browser extension or a mail program.
// Two sources are the same source when their names are equal, whatever their other fields say.
struct DownloadSource {
    QString name;
    QString symbol;
    QStringList domains;
    QStringList keywords;
    // The address of one particular file; empty in the catalog.
    std::optional<QString> link;

    // A metadata query clause that selects the files of this source (looser than classify: any stored
    // address containing one of the domains).
    QString spotlightClause() const;

    friend bool operator==(const DownloadSource &a, const DownloadSource &b) { return a.name == b.name; }
};

size_t qHash(const DownloadSource &source, size_t seed = 0) noexcept;

namespace DownloadSources {

// The known services, in the order that decides ties.
const QList<DownloadSource> &catalog();
// Browser extension identifier to display name.
const QHash<QString, QString> &knownExtensions();

// The source of a file, from its stored download addresses. Cached per path, absences too; safe to
// call from any thread.
std::optional<DownloadSource> source(const QUrl &file);
// The file's stored download addresses, empty entries dropped.
QStringList whereFroms(const QUrl &file);
std::optional<DownloadSource> classify(const QStringList &froms);
// The part of a host name a person would call the site: "mail.example.co.uk" is "example.co.uk". An IP
// address is kept whole: "192.168.1.20", and IPv6 in brackets, "[::1]".
QString registrableDomain(QStringView host);
std::optional<DownloadSource> named(QStringView name);
// The catalog row with this exact lower-case keyword.
std::optional<DownloadSource> forKeyword(QStringView word);

} // namespace DownloadSources
