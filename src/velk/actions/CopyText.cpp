#include "CopyText.h"

#include "files/Clipboard.h"
#include "state/AppState.h"
#include "text/Readable.h"
#include "text/TextIndex.h"

#include <QCoro/QCoroTask>
#include <QLocale>
#include <QPointer>
#include <QStringList>

namespace {

const QString kSymbol = QStringLiteral("text.viewfinder");

// Runs on the main thread; the awaits leave it free while the index reads.
QCoro::Task<> readAndCopy(QList<FileItem> items, QPointer<TextIndex> index, QPointer<AppState> state)
{
    QStringList sections;
    for (const FileItem &item : std::as_const(items)) {
        if (!index)
            co_return;
        const QString text = (co_await index->text(item)).trimmed();
        if (text.isEmpty())
            continue;
        if (items.size() > 1)
            sections << QStringLiteral("— %1 —\n%2").arg(item.name, text);
        else
            sections << text;
    }
    if (!state)
        co_return;

    const QString joined = sections.join(QStringLiteral("\n\n"));
    if (joined.isEmpty()) {
        const QString message = items.size() == 1 ? QStringLiteral("No text found in “%1”").arg(items.first().name) : QStringLiteral("No text found");
        state->setToast(AppState::Toast(message, QStringLiteral("text.badge.xmark")));
        co_return;
    }

    Clipboard::setText(joined);
    const qsizetype lines = joined.split(QLatin1Char('\n'), Qt::SkipEmptyParts).size();
    QString message = QStringLiteral("Copied %1 %2 of text").arg(QLocale().toString(lines), lines == 1 ? QStringLiteral("line") : QStringLiteral("lines"));
    if (sections.size() >= 2)
        message += QStringLiteral(" from %1 files").arg(QLocale().toString(sections.size()));
    state->setToast(AppState::Toast(message, QStringLiteral("doc.on.clipboard")));
}

} // namespace

void CopyText::run(const QList<FileItem> &items, TextIndex &index, AppState &state)
{
    QList<FileItem> readable;
    for (const FileItem &item : items) {
        if (TextRecognizer::canRead(item))
            readable << item;
    }
    if (readable.isEmpty()) {
        state.setToast(AppState::Toast(QStringLiteral("Select an image or PDF to copy its text"), kSymbol));
        return;
    }
    const QString reading = readable.size() == 1 ? QStringLiteral("Reading text…") : QStringLiteral("Reading text in %1 files…").arg(readable.size());
    state.setToast(AppState::Toast(reading, kSymbol, true));
    // Detached: the task owns itself and ends with its result toast.
    readAndCopy(std::move(readable), &index, &state);
}
