#include "actions/CopyText.h"

#include "Settings.h"
#include "TestHome.h"
#include "state/AppState.h"
#include "text/TextIndex.h"

#include <QClipboard>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPdfWriter>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString kSentinel = u"what the user copied before"_s;

// The toasts as they came, one line each: message, symbol and "sticky" where it is.
QString describe(const AppState::Toast &toast)
{
    return toast.message + u" | "_s + toast.symbol + (toast.sticky ? u" | sticky"_s : QString());
}

} // namespace

class TestCopyText : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void threeFilesTwoWithText();
    void twoFilesOneWithText();
    void oneLineFromOneFile();
    void onlyReadableFilesAreRead();
    void nothingReadable();
    void nothingFound();
    void linesCountInTheLocalesDigits();

private:
    FileItem pdf(const QString &name, const QStringList &lines);
    FileItem blankPicture(const QString &name);
    FileItem file(const QString &name, const QByteArray &contents);
    // Runs the command and waits for its last toast; returns every toast it set.
    QStringList run(const QList<FileItem> &items);

    std::unique_ptr<TestHome> m_home;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<AppState> m_state;
    std::unique_ptr<TextIndex> m_index;
};

void TestCopyText::init()
{
    m_home = std::make_unique<TestHome>();
    m_settings = std::make_unique<Settings>();
    m_state = std::make_unique<AppState>(*m_settings);
    m_index = std::make_unique<TextIndex>();
    QGuiApplication::clipboard()->setText(kSentinel);
}

void TestCopyText::cleanup()
{
    m_index.reset();
    m_state.reset();
    m_settings.reset();
    m_home.reset();
    QLocale::setDefault(QLocale::c());
}

FileItem TestCopyText::pdf(const QString &name, const QStringList &lines)
{
    const QString path = m_home->path(u"Documents/"_s + name);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QPdfWriter writer(path);
    writer.setResolution(72);
    QPainter painter(&writer);
    painter.setFont(QFont(u"DejaVu Sans"_s, 10));
    const int lineHeight = 16;
    int y = 60;
    for (const QString &line : lines) {
        if (y > writer.height() - 60) {
            writer.newPage();
            y = 60;
        }
        painter.drawText(60, y, line);
        y += lineHeight;
    }
    painter.end();
    const std::optional<FileItem> item = FileItem::fromUrl(QUrl::fromLocalFile(path));
    Q_ASSERT(item);
    return *item;
}

FileItem TestCopyText::blankPicture(const QString &name)
{
    const QString path = m_home->path(u"Pictures/"_s + name);
    QDir().mkpath(QFileInfo(path).absolutePath());
    QImage image(320, 200, QImage::Format_RGB32);
    image.fill(Qt::white);
    image.save(path);
    const std::optional<FileItem> item = FileItem::fromUrl(QUrl::fromLocalFile(path));
    Q_ASSERT(item);
    return *item;
}

FileItem TestCopyText::file(const QString &name, const QByteArray &contents)
{
    const std::optional<FileItem> item = FileItem::fromUrl(QUrl::fromLocalFile(m_home->file(u"Downloads/"_s + name, contents)));
    Q_ASSERT(item);
    return *item;
}

QStringList TestCopyText::run(const QList<FileItem> &items)
{
    QStringList toasts;
    const QMetaObject::Connection connection = connect(m_state.get(), &AppState::toastChanged, this, [&] {
        if (const std::optional<AppState::Toast> toast = m_state->toast())
            toasts << describe(*toast);
    });
    CopyText::run(items, *m_index, *m_state);
    // The command returns at once; its result comes as a toast that is not sticky.
    if (!QTest::qWaitFor([&] { return m_state->toast() && !m_state->toast()->sticky; }, 60000))
        toasts << u"(no result)"_s;
    disconnect(connection);
    return toasts;
}

void TestCopyText::threeFilesTwoWithText()
{
    const FileItem invoice = pdf(u"invoice.pdf"_s, {u"Invoice 2041"_s, u"Total due"_s});
    const FileItem blank = blankPicture(u"blank.png"_s);
    const FileItem letter = pdf(u"letter.pdf"_s, {u"Thank you"_s});
    QVERIFY(invoice.category == FileCategory::documents && blank.category == FileCategory::images);

    QCOMPARE(run({invoice, blank, letter}),
        (QStringList {u"Reading text in 3 files… | text.viewfinder | sticky"_s, u"Copied 5 lines of text from 2 files | doc.on.clipboard"_s}));
    QCOMPARE(QGuiApplication::clipboard()->text(), u"— invoice.pdf —\nInvoice 2041\nTotal due\n\n— letter.pdf —\nThank you"_s);
}

void TestCopyText::twoFilesOneWithText()
{
    const FileItem blank = blankPicture(u"blank.png"_s);
    const FileItem letter = pdf(u"letter.pdf"_s, {u"Thank you"_s});
    QCOMPARE(run({blank, letter}), (QStringList {u"Reading text in 2 files… | text.viewfinder | sticky"_s, u"Copied 2 lines of text | doc.on.clipboard"_s}));
    QCOMPARE(QGuiApplication::clipboard()->text(), u"— letter.pdf —\nThank you"_s);
}

void TestCopyText::oneLineFromOneFile()
{
    const FileItem letter = pdf(u"letter.pdf"_s, {u"Thank you"_s});
    QCOMPARE(run({letter}), (QStringList {u"Reading text… | text.viewfinder | sticky"_s, u"Copied 1 line of text | doc.on.clipboard"_s}));
    QCOMPARE(QGuiApplication::clipboard()->text(), u"Thank you"_s);
}

void TestCopyText::onlyReadableFilesAreRead()
{
    // Plain text, an archive and an SVG picture are not read, so one file is: no header.
    const FileItem letter = pdf(u"letter.pdf"_s, {u"Thank you"_s, u"Kind regards"_s});
    const FileItem svg = file(u"logo.svg"_s, "<svg xmlns=\"http://www.w3.org/2000/svg\"><text>Logo</text></svg>");
    QVERIFY(svg.category == FileCategory::images);
    QCOMPARE(run({file(u"notes.txt"_s, "words"), svg, letter, file(u"a.zip"_s, QByteArray("PK\x05\x06", 4) + QByteArray(18, '\0'))}),
        (QStringList {u"Reading text… | text.viewfinder | sticky"_s, u"Copied 2 lines of text | doc.on.clipboard"_s}));
    QCOMPARE(QGuiApplication::clipboard()->text(), u"Thank you\nKind regards"_s);
}

void TestCopyText::nothingReadable()
{
    QCOMPARE(run({file(u"notes.txt"_s, "words"), file(u"a.zip"_s, QByteArray("PK\x05\x06", 4) + QByteArray(18, '\0'))}),
        QStringList {u"Select an image or PDF to copy its text | text.viewfinder"_s});
    QCOMPARE(run({}), QStringList {u"Select an image or PDF to copy its text | text.viewfinder"_s});
    QCOMPARE(QGuiApplication::clipboard()->text(), kSentinel);
}

void TestCopyText::nothingFound()
{
    const FileItem one = blankPicture(u"one.png"_s);
    const FileItem two = blankPicture(u"two.png"_s);
    QCOMPARE(run({one, two}), (QStringList {u"Reading text in 2 files… | text.viewfinder | sticky"_s, u"No text found | text.badge.xmark"_s}));
    QCOMPARE(QGuiApplication::clipboard()->text(), kSentinel);

    QCOMPARE(run({one}), (QStringList {u"Reading text… | text.viewfinder | sticky"_s, u"No text found in “one.png” | text.badge.xmark"_s}));
    QCOMPARE(QGuiApplication::clipboard()->text(), kSentinel);
}

void TestCopyText::linesCountInTheLocalesDigits()
{
    QLocale::setDefault(QLocale(QLocale::English, QLocale::UnitedStates));
    QStringList lines;
    for (int i = 1; i <= 1200; ++i)
        lines << u"Line %1"_s.arg(i);
    const FileItem log = pdf(u"long.pdf"_s, lines);
    const FileItem letter = pdf(u"letter.pdf"_s, {u"Thank you"_s});
    const QStringList toasts = run({log, letter});
    // 1200 lines and one, with a header line for each file.
    QCOMPARE(toasts.value(1), u"Copied 1,203 lines of text from 2 files | doc.on.clipboard"_s);
    QVERIFY(QGuiApplication::clipboard()->text().startsWith(u"— long.pdf —\nLine 1\nLine 2\n"_s));
}

QTEST_MAIN(TestCopyText)

#include "tst_copytext.moc"
