#include "files/RecentlyUsed.h"

#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>
#include <QXmlStreamReader>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const RecentlyUsed::Application kVelk {u"Velk"_s, u"velk %u"_s};
const QDateTime kFirst(QDate(2026, 3, 10), QTime(9, 30, 15, 250), Qt::UTC);
const QDateTime kSecond(QDate(2026, 3, 11), QTime(18, 5), Qt::UTC);

// A list as GLib writes it, with what other programs put there: a title with escapes, groups, a
// private flag, a second metadata block of another owner, and an href with lower-case escapes.
QByteArray otherProgramsList(const QString &home)
{
    return QString::fromUtf8(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<xbel version=\"1.0\"\n"
        "      xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\"\n"
        "      xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\"\n"
        ">\n"
        "  <bookmark href=\"file://@HOME@/Notes/caf%c3%a9%20list.txt\" added=\"2026-01-05T08:00:00.000001Z\" modified=\"2026-01-05T08:00:00.000002Z\" "
        "visited=\"2026-01-05T08:00:00.000001Z\">\n"
        "    <title>Caf&#233; &amp; &lt;list&gt; &apos;q&apos;</title>\n"
        "    <info>\n"
        "      <metadata owner=\"http://freedesktop.org\">\n"
        "        <mime:mime-type type=\"text/plain\"/>\n"
        "        <bookmark:groups>\n"
        "          <bookmark:group>gedit</bookmark:group>\n"
        "        </bookmark:groups>\n"
        "        <bookmark:applications>\n"
        "          <bookmark:application name=\"gedit\" exec=\"&apos;gedit %u&apos;\" modified=\"2026-01-05T08:00:00.000002Z\" count=\"3\"/>\n"
        "        </bookmark:applications>\n"
        "      </metadata>\n"
        "      <metadata owner=\"http://www.kde.org\">\n"
        "        <kde:activity xmlns:kde=\"urn:example:kde\">work</kde:activity>\n"
        "      </metadata>\n"
        "    </info>\n"
        "  </bookmark>\n"
        "  <bookmark href=\"file:///srv/Manual.pdf\" added=\"2026-02-01T12:00:00Z\" modified=\"2026-02-01T12:00:00Z\" visited=\"2026-02-01T12:00:00Z\">\n"
        "    <info>\n"
        "      <metadata owner=\"http://freedesktop.org\">\n"
        "        <mime:mime-type type=\"application/pdf\"/>\n"
        "        <bookmark:applications>\n"
        "          <bookmark:application name=\"Evince\" exec=\"&apos;evince %u&apos;\" modified=\"2026-02-01T12:00:00Z\" count=\"1\"/>\n"
        "        </bookmark:applications>\n"
        "        <bookmark:private/>\n"
        "      </metadata>\n"
        "    </info>\n"
        "  </bookmark>\n"
        "</xbel>\n")
        .replace(u"@HOME@"_s, home)
        .toUtf8();
}

// One element and everything inside it in a form that ignores only how the XML was spelled: names
// with their namespaces, attributes in order, text without the indentation.
QString flatten(QXmlStreamReader &reader)
{
    QString out;
    int depth = 0;
    do {
        switch (reader.tokenType()) {
        case QXmlStreamReader::StartElement:
            ++depth;
            out += u'<' + reader.namespaceUri().toString() + u'|' + reader.name().toString();
            for (const QXmlStreamAttribute &attribute : reader.attributes())
                out += u' ' + attribute.namespaceUri().toString() + u'|' + attribute.name().toString() + u'=' + attribute.value().toString();
            out += u'>';
            break;
        case QXmlStreamReader::EndElement:
            --depth;
            out += u"</>"_s;
            break;
        case QXmlStreamReader::Characters:
            out += reader.text().trimmed().toString();
            break;
        default:
            break;
        }
        if (depth == 0)
            break;
        reader.readNext();
    } while (!reader.atEnd());
    return out;
}

// Each bookmark of a list, flattened, by its href.
QMap<QString, QString> bookmarks(const QByteArray &list)
{
    QMap<QString, QString> found;
    QXmlStreamReader reader(list);
    while (reader.readNextStartElement()) {
        if (reader.name() == u"xbel")
            continue;
        const QString href = reader.attributes().value(u"href"_s).toString();
        found.insert(href, flatten(reader));
    }
    if (reader.hasError())
        found.insert(u"error"_s, reader.errorString());
    return found;
}

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

mode_t modeOf(const QString &path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? st.st_mode & 07777 : 0;
}

QString stamp(const QDateTime &when)
{
    return when.toString(u"yyyy-MM-dd'T'HH:mm:ss.zzz'000Z'"_s);
}

} // namespace

class TestRecentlyUsed : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void newList();
    void keepsWhatOtherProgramsWrote();
    void secondUseCountsUp();
    void leavesListsItCannotRead();
    void keepsModeAndLink();
};

void TestRecentlyUsed::newList()
{
    TestHome home;
    // No data folder yet: it is made, private to the user.
    QVERIFY(QDir(home.path(u".local/share"_s)).removeRecursively());
    const QString text = home.file(u"Documents/a b.txt"_s, "plain words\n");
    const QString pdf = home.file(u"Documents/scan.pdf"_s, "%PDF-1.4\n%%EOF\n");
    const QString folder = home.folder(u"Music/Live #2"_s);
    QVERIFY(
        RecentlyUsed::add({QUrl::fromLocalFile(text), QUrl::fromLocalFile(pdf), QUrl::fromLocalFile(folder), QUrl(u"https://example.org/x"_s)}, kVelk, kFirst));

    const QString list = home.path(u".local/share/recently-used.xbel"_s);
    QCOMPARE(RecentlyUsed::path(), list);
    QCOMPARE(modeOf(list), mode_t(0600));
    QCOMPARE(modeOf(home.path(u".local/share"_s)), mode_t(0700));
    const QByteArray bytes = readAll(list);
    QVERIFY(bytes.startsWith("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<xbel "));
    QVERIFY(bytes.contains(" version=\"1.0\">\n  <bookmark "));

    const QString when = stamp(kFirst);
    QCOMPARE(when, u"2026-03-10T09:30:15.250000Z"_s);
    const QString entry = u"<|bookmark |href=%1 |added=%2 |modified=%2 |visited=%2><|info><|metadata |owner=http://freedesktop.org>"
                          u"<http://www.freedesktop.org/standards/shared-mime-info|mime-type |type=%3></>"
                          u"<http://www.freedesktop.org/standards/desktop-bookmarks|applications>"
                          u"<http://www.freedesktop.org/standards/desktop-bookmarks|application |name=Velk |exec='velk %u' |modified=%2 |count=1></>"
                          u"</></></></>"_s;
    const QMap<QString, QString> found = bookmarks(bytes);
    QCOMPARE(found.size(), 3);
    const QString textHref = QString::fromUtf8(QUrl::fromLocalFile(text).toEncoded());
    QVERIFY(textHref.endsWith(u"/Documents/a%20b.txt"_s));
    QCOMPARE(found.value(textHref), entry.arg(textHref, when, u"text/plain"_s));
    const QString pdfHref = QString::fromUtf8(QUrl::fromLocalFile(pdf).toEncoded());
    QCOMPARE(found.value(pdfHref), entry.arg(pdfHref, when, u"application/pdf"_s));
    const QString folderHref = QString::fromUtf8(QUrl::fromLocalFile(folder).toEncoded());
    QVERIFY(folderHref.endsWith(u"/Music/Live%20%232"_s));
    QCOMPARE(found.value(folderHref), entry.arg(folderHref, when, u"inode/directory"_s));

    // Indented as GLib indents, two spaces a level.
    QVERIFY(bytes.contains("\n  <bookmark "));
    QVERIFY(bytes.contains("\n          <bookmark:application name=\"Velk\""));
    QVERIFY(bytes.endsWith("</bookmark>\n</xbel>\n"));
}

void TestRecentlyUsed::keepsWhatOtherProgramsWrote()
{
    TestHome home;
    const QString list = home.file(u".local/share/recently-used.xbel"_s, otherProgramsList(home.root()));
    const QString notes = home.file(u"Notes/café list.txt"_s, "coffee");
    const QString photo = home.file(u"Pictures/p.png"_s, "not really a png");
    const QMap<QString, QString> before = bookmarks(readAll(list));
    QCOMPARE(before.size(), 2);

    QVERIFY(RecentlyUsed::add({QUrl::fromLocalFile(notes), QUrl::fromLocalFile(photo)}, kVelk, kFirst));
    const QByteArray bytes = readAll(list);
    const QMap<QString, QString> after = bookmarks(bytes);
    QCOMPARE(after.size(), 3);

    // Evince's private bookmark is untouched.
    QCOMPARE(after.value(u"file:///srv/Manual.pdf"_s), before.value(u"file:///srv/Manual.pdf"_s));

    // gedit's bookmark of the same file, found under another spelling of its address, keeps all
    // it had and gains Velk beside gedit, with fresh dates.
    const QString notesHref = u"file://"_s + home.root() + u"/Notes/caf%c3%a9%20list.txt"_s;
    QVERIFY(!after.contains(QString::fromUtf8(QUrl::fromLocalFile(notes).toEncoded())));
    QString expected = before.value(notesHref);
    const QString when = stamp(kFirst);
    expected.replace(u"|modified=2026-01-05T08:00:00.000002Z |visited=2026-01-05T08:00:00.000001Z>"_s, u"|modified="_s + when + u" |visited="_s + when + u'>');
    expected.replace(u"|count=3></>"_s,
        u"|count=3></><http://www.freedesktop.org/standards/desktop-bookmarks|application |name=Velk |exec='velk %u' |modified="_s + when + u" |count=1></>"_s);
    QCOMPARE(after.value(notesHref), expected);
    QVERIFY(expected.contains(u"<|title>Café & <list> 'q'</>"_s));
    QVERIFY(expected.contains(u"<urn:example:kde|activity>work</>"_s));

    // The new one is appended at the end, in the list's own indentation.
    QVERIFY(after.contains(QString::fromUtf8(QUrl::fromLocalFile(photo).toEncoded())));
    QVERIFY(bytes.contains("  </bookmark>\n  <bookmark href=\"" + QUrl::fromLocalFile(photo).toEncoded()));
    // The namespaces keep their prefixes.
    QVERIFY(bytes.contains("<bookmark:application name=\"gedit\""));
    QVERIFY(bytes.contains("<mime:mime-type type=\"text/plain\"/>"));
    QVERIFY(!bytes.contains("n1:"));
}

void TestRecentlyUsed::secondUseCountsUp()
{
    TestHome home;
    const QUrl file = QUrl::fromLocalFile(home.file(u"Documents/draft.odt"_s, "draft"));
    QVERIFY(RecentlyUsed::add({file}, kVelk, kFirst));
    QVERIFY(RecentlyUsed::add({file}, kVelk, kSecond));
    const QMap<QString, QString> found = bookmarks(readAll(RecentlyUsed::path()));
    QCOMPARE(found.size(), 1);
    const QString entry = found.first();
    const QString first = stamp(kFirst);
    const QString second = stamp(kSecond);
    QVERIFY(entry.contains(u"|added="_s + first + u" |modified="_s + second + u" |visited="_s + second + u'>'));
    QVERIFY(entry.contains(u"|name=Velk |exec='velk %u' |modified="_s + second + u" |count=2>"_s));
    QCOMPARE(entry.count(u"|application "_s), 1);
    QCOMPARE(entry.count(u"|mime-type "_s), 1);
}

void TestRecentlyUsed::leavesListsItCannotRead()
{
    TestHome home;
    const QUrl file = QUrl::fromLocalFile(home.file(u"a.txt"_s, "a"));
    const QString list = RecentlyUsed::path();

    // Cut off halfway, as while another program writes it.
    const QByteArray half = otherProgramsList(home.root()).left(700);
    home.file(u".local/share/recently-used.xbel"_s, half);
    QVERIFY(!RecentlyUsed::add({file}, kVelk, kFirst));
    QCOMPARE(readAll(list), half);

    // Some other kind of XML.
    home.file(u".local/share/recently-used.xbel"_s, "<?xml version=\"1.0\"?><html/>");
    QVERIFY(!RecentlyUsed::add({file}, kVelk, kFirst));

    // Switched off by a link to /dev/null.
    QFile::remove(list);
    QVERIFY(QFile::link(u"/dev/null"_s, list));
    QVERIFY(!RecentlyUsed::add({file}, kVelk, kFirst));
    QCOMPARE(QFileInfo(list).symLinkTarget(), u"/dev/null"_s);

    // Nothing local to record.
    QFile::remove(list);
    QVERIFY(!RecentlyUsed::add({QUrl(u"https://example.org/"_s)}, kVelk, kFirst));
    QVERIFY(!QFileInfo::exists(list));

    // An empty file is an empty list.
    home.file(u".local/share/recently-used.xbel"_s, "");
    QVERIFY(RecentlyUsed::add({file}, kVelk, kFirst));
    QCOMPARE(bookmarks(readAll(list)).size(), 1);
}

void TestRecentlyUsed::keepsModeAndLink()
{
    TestHome home;
    const QUrl file = QUrl::fromLocalFile(home.file(u"a.txt"_s, "a"));
    // A list kept elsewhere and linked in, readable by the group.
    const QString real = home.file(u"Sync/recent.xbel"_s, otherProgramsList(home.root()));
    QVERIFY(QFile::setPermissions(real, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup));
    const QString list = RecentlyUsed::path();
    QVERIFY(QFile::link(real, list));

    QVERIFY(RecentlyUsed::add({file}, kVelk, kFirst));
    QCOMPARE(QFileInfo(list).symLinkTarget(), real);
    QCOMPARE(bookmarks(readAll(real)).size(), 3);
    QCOMPARE(modeOf(real), mode_t(0640));
}

QTEST_GUILESS_MAIN(TestRecentlyUsed)

#include "tst_recentlyused.moc"
