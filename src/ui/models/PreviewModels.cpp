#include "PreviewModels.h"

#include "FilePath.h"
#include "InputFile.h"
#include "actions/CopyText.h"
#include "actions/FileActions.h"
#include "text/Readable.h"
#include "worker/ParseWorkers.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>
#include <QPointer>
#include <QStringDecoder>
#include <QtConcurrent/QtConcurrentRun>

namespace QuickLook {

QString kindOf(const FileItem &item)
{
    if (item.category == FileCategory::folders)
        return QStringLiteral("folder");
    const auto conforms = [&item](QStringView type) { return item.contentType && item.contentType->conforms(type); };
    if (item.category == FileCategory::images || conforms(u"public.image"))
        return QStringLiteral("picture");
    if (item.category == FileCategory::videos || conforms(u"public.movie"))
        return QStringLiteral("video");
    if (item.category == FileCategory::music || conforms(u"public.audio"))
        return QStringLiteral("audio");
    if (conforms(u"com.adobe.pdf"))
        return QStringLiteral("pdf");
    // Application entries are text too, but a person looks for the program, not its lines; rich text
    // is markup that means nothing read plainly.
    if (item.category != FileCategory::apps && conforms(u"public.text") && !conforms(u"public.rtf"))
        return QStringLiteral("text");
    return QStringLiteral("other");
}

} // namespace QuickLook

PreviewSheetModel::PreviewSheetModel(QObject *parent)
    : QObject(parent)
{
}

void PreviewSheetModel::componentComplete()
{
    setStores(UiStores::of(this));
}

void PreviewSheetModel::setStores(const Stores &stores)
{
    m_stores = stores;
    if (!m_stores.state)
        return;
    connect(m_stores.state, &AppState::previewItemChanged, this, &PreviewSheetModel::update);
    connect(m_stores.state, &AppState::previewListChanged, this, &PreviewSheetModel::update);
    connect(m_stores.state, &AppState::liveTextModeChanged, this, &PreviewSheetModel::update);
    update();
}

void PreviewSheetModel::update()
{
    Q_EMIT changed();
    if (const bool open = isOpen(); open != m_open) {
        m_open = open;
        Q_EMIT openChanged();
    }
}

std::optional<FileItem> PreviewSheetModel::item() const
{
    return m_stores.state ? m_stores.state->previewItem() : std::nullopt;
}

bool PreviewSheetModel::isOpen() const
{
    return item().has_value();
}

QVariant PreviewSheetModel::itemValue() const
{
    const auto shown = item();
    return shown ? QVariant::fromValue(*shown) : QVariant();
}

QUrl PreviewSheetModel::url() const
{
    const auto shown = item();
    return shown ? shown->url : QUrl();
}

QString PreviewSheetModel::kind() const
{
    const auto shown = item();
    return shown ? QuickLook::kindOf(*shown) : QString();
}

QString PreviewSheetModel::name() const
{
    const auto shown = item();
    return shown ? shown->name : QString();
}

int PreviewSheetModel::position() const
{
    const auto shown = item();
    return shown ? int(m_stores.state->previewList().indexOf(*shown)) : -1;
}

QString PreviewSheetModel::subtitle() const
{
    const auto shown = item();
    if (!shown)
        return {};
    QStringList parts;
    if (const QString subtitle = shown->subtitle(); !subtitle.isEmpty())
        parts << subtitle;
    if (const int index = position(); index >= 0)
        parts << QStringLiteral("%1 of %2").arg(index + 1).arg(m_stores.state->previewList().size());
    return parts.join(QStringLiteral(" · "));
}

bool PreviewSheetModel::canGoBack() const
{
    return position() > 0;
}

bool PreviewSheetModel::canGoForward() const
{
    const int index = position();
    return index >= 0 && index + 1 < m_stores.state->previewList().size();
}

bool PreviewSheetModel::canSelectText() const
{
    const auto shown = item();
    return shown && shown->category == FileCategory::images && TextRecognizer::canRead(*shown);
}

bool PreviewSheetModel::canCopyText() const
{
    const auto shown = item();
    return shown && TextRecognizer::canRead(*shown);
}

bool PreviewSheetModel::showsLiveText() const
{
    return m_stores.state && m_stores.state->liveTextMode() && canSelectText();
}

void PreviewSheetModel::back()
{
    if (m_stores.state)
        m_stores.state->stepPreview(-1);
}

void PreviewSheetModel::forward()
{
    if (m_stores.state)
        m_stores.state->stepPreview(+1);
}

void PreviewSheetModel::close()
{
    if (m_stores.state)
        m_stores.state->setPreviewItem(std::nullopt);
}

void PreviewSheetModel::copyText()
{
    if (const auto shown = item(); shown && m_stores.textIndex)
        CopyText::run({*shown}, *m_stores.textIndex, *m_stores.state);
}

void PreviewSheetModel::showInFiles()
{
    if (const auto shown = item())
        FileActions::reveal({*shown});
}

void PreviewSheetModel::openExternally()
{
    if (const auto shown = item())
        FileActions::openExternally({*shown});
}

TextFileModel::TextFileModel(QObject *parent)
    : QObject(parent)
{
}

TextFileModel::Read TextFileModel::read(const QString &path, qint64 limit)
{
    Read result;
    const InputFile file(path);
    if (!file.isOpen())
        return result;
    const QByteArray bytes = file.readAt(0, std::min(file.size(), limit));
    if (bytes.size() < std::min(file.size(), limit))
        return result;
    // A NUL near the start means the bytes are not text, whatever the name says.
    if (bytes.left(8192).contains('\0'))
        return result;
    result.failed = false;
    result.truncated = file.size() > limit;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    result.text = decoder.decode(bytes);
    // A cut in the middle of a character leaves a replacement character at the end: drop it.
    if (result.truncated && result.text.endsWith(QChar::ReplacementCharacter))
        result.text.chop(1);
    return result;
}

void TextFileModel::setUrl(const QUrl &url)
{
    if (m_url == url)
        return;
    m_url = url;
    m_text.clear();
    m_ready = m_failed = m_truncated = false;
    Q_EMIT urlChanged();
    Q_EMIT loaded();
    if (url.isEmpty())
        return;
    [](QPointer<TextFileModel> self, QUrl url) -> QCoro::Task<> {
        // The future is made in a statement of its own: GCC 12 destroys a lambda with captures twice
        // when it is built inside the co_await expression.
        auto future = QtConcurrent::run([path = FilePath::fromUrl(url)] { return TextFileModel::read(path); });
        const Read read = co_await future;
        if (!self || self->m_url != url)
            co_return;
        self->m_text = read.text;
        self->m_failed = read.failed;
        self->m_truncated = read.truncated;
        self->m_ready = true;
        Q_EMIT self->loaded();
    }(this, url);
}

PdfDocumentModel::PdfDocumentModel(QObject *parent)
    : QObject(parent)
{
}

void PdfDocumentModel::setUrl(const QUrl &url)
{
    if (m_url == url)
        return;
    m_url = url;
    m_pageCount = 0;
    m_ready = false;
    Q_EMIT urlChanged();
    Q_EMIT loaded();
    if (url.isEmpty())
        return;
    [](QPointer<PdfDocumentModel> self, QUrl url) -> QCoro::Task<> {
        struct Shape {
            int pages = 0;
            QSize size;
        };
        auto future = QtConcurrent::run([path = FilePath::fromUrl(url)] {
            Shape shape;
            shape.size = ParseWorkers::renderPage(path, 0, 64, &shape.pages).size();
            return shape;
        });
        const Shape shape = co_await future;
        if (!self || self->m_url != url)
            co_return;
        self->m_pageCount = shape.size.isEmpty() ? 0 : shape.pages;
        if (!shape.size.isEmpty())
            self->m_aspect = double(shape.size.height()) / shape.size.width();
        self->m_ready = true;
        Q_EMIT self->loaded();
    }(this, url);
}
