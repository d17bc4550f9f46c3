#include "Format.h"

#include "PreviewModels.h"

#include "models/FileCategory.h"
#include "models/Fmt.h"

#include <QLocale>

Format::Format(QObject *parent)
    : QObject(parent)
{
}

QString Format::bytes(qint64 count)
{
    return Fmt::bytes(count);
}

QString Format::duration(double seconds)
{
    return Fmt::duration(seconds);
}

QString Format::remaining(double currentTime, double duration)
{
    return QStringLiteral("-") + Fmt::duration(std::max(0.0, duration - currentTime));
}

QString Format::date(const QDateTime &date)
{
    return Fmt::date(date);
}

QString Format::count(qint64 n)
{
    return QLocale().toString(n);
}

QString Format::counted(qint64 n, const QString &noun)
{
    return count(n) + QLatin1Char(' ') + noun + (n == 1 ? QString() : QStringLiteral("s"));
}

QString Format::categorySymbol(const QString &raw)
{
    const auto category = FileCategory::fromRaw(raw);
    return category ? category->symbol() : QStringLiteral("doc");
}

QColor Format::categoryTint(const QString &rawOrKey)
{
    const QString raw = rawOrKey.startsWith(QLatin1String("category/")) ? rawOrKey.mid(9) : rawOrKey;
    const auto category = FileCategory::fromRaw(raw);
    const Rgb tint = category ? category->tint() : Rgb {0.557, 0.557, 0.576};
    return QColor::fromRgbF(float(tint.red), float(tint.green), float(tint.blue), float(tint.alpha));
}

QColor Format::pastel(const QString &name)
{
    const Rgb tint = Theme::pastel(name);
    return QColor::fromRgbF(float(tint.red), float(tint.green), float(tint.blue), float(tint.alpha));
}

QString Format::previewKind(const QVariant &item)
{
    if (!item.canConvert<FileItem>())
        return {};
    const FileItem file = item.value<FileItem>();
    return file.isValid() ? QuickLook::kindOf(file) : QString();
}
