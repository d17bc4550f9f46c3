#include "ScreenCapture.h"

#include <QDir>
#include <QStandardPaths>

using namespace Qt::StringLiterals;

namespace mdindex::ScreenCapture {

namespace {

    // What screenshot tools call their files, across desktops and languages, lowercased with the
    // typographic apostrophe as a plain one.
    constexpr QStringView kPictureNames[] = {
        u"screenshot",
        u"screen shot",
        u"bildschirmfoto",
        u"capture d'écran",
        u"captura de pantalla",
        u"captura de tela",
        u"captura de ecrã",
        u"schermata",
        u"schermafbeelding",
        u"zrzut ekranu",
        u"skärmbild",
        u"skærmbillede",
        u"skjermbilde",
        u"näyttökuva",
        u"snímek obrazovky",
        u"képernyőkép",
        u"ekran görüntüsü",
        u"снимок экрана",
        u"знімок екрана",
        u"στιγμιότυπο οθόνης",
        u"スクリーンショット",
        u"스크린샷",
        u"屏幕截图",
        u"截图",
        u"螢幕擷取畫面",
        u"ksnip_",
    };
    constexpr QStringView kVideoNames[] = {
        u"screencast",
        u"screen recording",
        u"screenrecording",
        u"bildschirmaufnahme",
        u"bildschirmaufzeichnung",
        u"enregistrement de l'écran",
        u"grabación de pantalla",
        u"registrazione schermo",
        u"simplescreenrecorder",
        u"kooha-",
    };
    // Tools that name their files by date and end them with their own name.
    constexpr QStringView kToolSuffixes[] = {u"_scrot", u"_grim", u"-scrot", u"-grim"};

    constexpr QStringView kTools[] = {
        u"gnome-screenshot",
        u"screenshot",
        u"screencast",
        u"spectacle",
        u"flameshot",
        u"grim",
        u"scrot",
        u"shutter",
        u"ksnip",
        u"maim",
        u"xfce4-screenshooter",
        u"screenshooter",
        u"deepin-screenshot",
        u"greenshot",
        u"sharex",
        u"lightshot",
        u"snipping tool",
        u"kooha",
        u"obs studio",
        u"simplescreenrecorder",
        u"peek",
    };

    QString folded(QStringView text)
    {
        QString out = text.toString().toLower();
        out.replace(QChar(0x2019), u'\'');
        return out;
    }

    bool isBelow(const QString &path, const QString &folder)
    {
        return !folder.isEmpty() && path.size() > folder.size() && path.startsWith(folder) && path.at(folder.size()) == u'/';
    }

    bool isLetter(QChar c)
    {
        return c.isLetterOrNumber();
    }

} // namespace

Places Places::current()
{
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    const QString movies = QStandardPaths::writableLocation(QStandardPaths::MoviesLocation);
    return {pictures.isEmpty() ? QString() : QDir::cleanPath(pictures + u"/Screenshots"_s),
        movies.isEmpty() ? QString() : QDir::cleanPath(movies + u"/Screencasts"_s)};
}

bool byPlaceOrName(const QString &path, QStringView name, bool video)
{
    return byPlaceOrName(Places::current(), path, name, video);
}

bool byPlaceOrName(const Places &places, const QString &path, QStringView name, bool video)
{
    const QString lower = folded(name);
    for (QStringView prefix : kPictureNames) {
        if (lower.startsWith(prefix))
            return true;
    }
    if (video) {
        for (QStringView prefix : kVideoNames) {
            if (lower.startsWith(prefix))
                return true;
        }
    }
    const qsizetype dot = lower.lastIndexOf(u'.');
    const QStringView stem = QStringView(lower).first(dot > 0 ? dot : lower.size());
    for (QStringView suffix : kToolSuffixes) {
        if (stem.endsWith(suffix))
            return true;
    }

    // Both folders count for both kinds: some tools record the screen into the screenshots folder.
    const QString clean = QDir::cleanPath(path);
    return isBelow(clean, places.screenshots) || isBelow(clean, places.screencasts);
}

bool namesCaptureTool(QStringView software)
{
    const QString lower = folded(software.first(std::min<qsizetype>(software.size(), 256)));
    for (QStringView tool : kTools) {
        // A whole word of the value: "grim 1.4" is the tool, "pilgrim" is not.
        for (qsizetype at = lower.indexOf(tool); at >= 0; at = lower.indexOf(tool, at + 1)) {
            const qsizetype end = at + tool.size();
            if ((at == 0 || !isLetter(lower.at(at - 1))) && (end == lower.size() || !isLetter(lower.at(end))))
                return true;
        }
    }
    return false;
}

} // namespace mdindex::ScreenCapture
