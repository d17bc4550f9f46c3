#include "FileCategory.h"

#include "UTType.h"

namespace {

// Each type identifier becomes one tree test; all of them joined by "||" inside one pair of brackets.
QString treeQuery(std::initializer_list<const char *> identifiers)
{
    QStringList tests;
    for (const char *identifier : identifiers)
        tests.append(QStringLiteral("kMDItemContentTypeTree == '%1'").arg(QLatin1StringView(identifier)));
    return QLatin1Char('(') + tests.join(QLatin1StringView(" || ")) + QLatin1Char(')');
}

} // namespace

QString FileCategory::title() const
{
    static const char *const titles[] = {"Images", "Videos", "Music", "Documents", "Archives", "Apps", "Code", "Folders", "Other"};
    return QString::fromLatin1(titles[m_index]);
}

QString FileCategory::symbol() const
{
    static const char *const symbols[] = {
        "photo",
        "play.rectangle",
        "music.note",
        "doc.text",
        "archivebox",
        "square.grid.2x2",
        "chevron.left.forwardslash.chevron.right",
        "folder",
        "doc",
    };
    return QString::fromLatin1(symbols[m_index]);
}

bool FileCategory::fillsTile() const
{
    return *this == images || *this == videos || *this == music;
}

Rgb FileCategory::tint() const
{
    const auto &pastels = Theme::pastels();
    switch (Case(m_index)) {
    case images:
        return pastels[0];
    case videos:
        return pastels[1];
    case music:
        return pastels[2];
    case documents:
        return pastels[3];
    case archives:
        return pastels[5];
    case apps:
        return pastels[4];
    case code:
        return {0.4, 0.45, 0.95};
    case folders:
        return {0.45, 0.6, 0.8};
    case other:
        break;
    }
    return Theme::systemGray;
}

std::pair<Rgb, Rgb> FileCategory::gradient() const
{
    static const std::pair<Rgb, Rgb> gradients[] = {
        {{1.0, 0.62, 0.27}, {0.98, 0.27, 0.45}}, // images
        {{0.62, 0.4, 0.98}, {0.36, 0.25, 0.85}}, // videos
        {{1.0, 0.38, 0.44}, {0.9, 0.1, 0.3}}, // music
        {{0.32, 0.64, 1.0}, {0.16, 0.4, 0.92}}, // documents
        {{0.98, 0.78, 0.32}, {0.88, 0.54, 0.14}}, // archives
        {{0.36, 0.8, 0.96}, {0.18, 0.48, 0.95}}, // apps
        {{0.26, 0.84, 0.64}, {0.08, 0.58, 0.5}}, // code
        {{0.42, 0.76, 0.96}, {0.24, 0.54, 0.86}}, // folders
        {{0.66, 0.68, 0.73}, {0.44, 0.46, 0.52}}, // other
    };
    return gradients[m_index];
}

QString FileCategory::spotlightQuery() const
{
    switch (Case(m_index)) {
    case images:
        return treeQuery({"public.image"});
    case videos:
        return treeQuery({"public.movie"}) + QStringLiteral(" && kMDItemFSName != '*.ts'c");
    case music:
        return treeQuery({"public.audio"});
    case documents:
        return treeQuery({"com.adobe.pdf", "public.composite-content", "public.presentation", "public.spreadsheet", "public.rtf"})
            + QStringLiteral(" || ((kMDItemFSName == '*.txt'c || kMDItemFSName == '*.md'c) && kMDItemLastUsedDate == *)");
    case archives:
        return treeQuery({"public.archive", "com.apple.disk-image"});
    case apps:
        return treeQuery({"com.apple.application-bundle"});
    case code:
        return treeQuery({"public.source-code"}) + QStringLiteral(" && kMDItemLastUsedDate == *");
    case folders:
        return treeQuery({"public.folder"});
    case other:
        break;
    }
    return QStringLiteral("kMDItemFSName == '*'");
}

QList<FileCategory> FileCategory::library()
{
    return {images, videos, music, documents, archives, apps};
}

FileCategory FileCategory::classify(const std::optional<UTType> &contentType, bool isDirectory)
{
    if (isDirectory)
        return folders;
    if (!contentType)
        return other;
    const UTType &type = *contentType;
    const auto any = [&type](std::initializer_list<const UTType *> types) {
        return std::any_of(types.begin(), types.end(), [&type](const UTType *t) { return type.conforms(*t); });
    };
    if (any({&UTType::application(), &UTType::applicationBundle()}))
        return apps;
    if (type.conforms(UTType::folder()) && !type.conforms(UTType::package()))
        return folders;
    if (type.conforms(UTType::image()))
        return images;
    if (any({&UTType::movie(), &UTType::video()}))
        return videos;
    if (type.conforms(UTType::audio()))
        return music;
    if (any({&UTType::sourceCode(), &UTType::script(), &UTType::json(), &UTType::xml(), &UTType::propertyList()}))
        return code;
    if (any({&UTType::archive(), &UTType::diskImage()}))
        return archives;
    if (any({&UTType::pdf(), &UTType::compositeContent(), &UTType::presentation(), &UTType::spreadsheet()}))
        return documents;
    if (type.conforms(UTType::text()))
        return documents;
    return other;
}
