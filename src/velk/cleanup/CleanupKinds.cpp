#include "CleanupKinds.h"

namespace CleanupKinds {

QString symbol(CleanupKind kind)
{
    static const char *const symbols[] = {"shippingbox", "arrow.down.circle", "camera.viewfinder", "film.stack", "app.dashed"};
    return QString::fromLatin1(symbols[kind.index()]);
}

Rgb tint(CleanupKind kind)
{
    static const int entries[] = {5, 1, 4, 0, 3};
    return Theme::pastels().at(entries[kind.index()]);
}

QString explanation(CleanupKind kind)
{
    static const char *const explanations[] = {
        "Disk images and installer packages older than a week. Once an app is installed, these are just taking up space.",
        "Loose files in Downloads you haven't opened or changed in 3 months. Folders inside Downloads are left alone.",
        "Screenshots older than 30 days. Most were only needed for a moment.",
        "Videos over 200 MB you haven't opened in 6 months.",
        "Apps you haven't opened in 6 months, or ever.",
    };
    return QString::fromUtf8(explanations[kind.index()]);
}

} // namespace CleanupKinds
