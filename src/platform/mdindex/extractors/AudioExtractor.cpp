#include "ExtractorSupport.h"
#include "Extractors.h"

#include <QStringList>

#include <taglib/aifffile.h>
#include <taglib/apefile.h>
#include <taglib/asffile.h>
#include <taglib/fileref.h>
#include <taglib/flacfile.h>
#include <taglib/mp4file.h>
#include <taglib/mpcfile.h>
#include <taglib/mpegfile.h>
#include <taglib/oggflacfile.h>
#include <taglib/opusfile.h>
#include <taglib/speexfile.h>
#include <taglib/tfilestream.h>
#include <taglib/tpropertymap.h>
#include <taglib/trueaudiofile.h>
#include <taglib/vorbisfile.h>
#include <taglib/wavfile.h>
#include <taglib/wavpackfile.h>

namespace mdindex::extractors {

namespace {

    constexpr qsizetype kMaxValues = 32;
    constexpr qsizetype kMaxValueLength = 512;

    QStringList values(const TagLib::PropertyMap &properties, const char *key)
    {
        QStringList out;
        const auto it = properties.find(key);
        if (it == properties.end())
            return out;
        for (const TagLib::String &value : it->second) {
            const QString text = QString::fromStdString(value.to8Bit(true)).trimmed().left(kMaxValueLength);
            if (!text.isEmpty() && !out.contains(text))
                out.append(text);
            if (out.size() == kMaxValues)
                break;
        }
        return out;
    }

    // The names people know codecs by; TagLib says which container it read, and for some which codec.
    QString codecOf(TagLib::File *file)
    {
        if (auto *mpeg = dynamic_cast<TagLib::MPEG::File *>(file)) {
            const auto *properties = mpeg->audioProperties();
            return properties ? QStringLiteral("MP%1").arg(properties->layer()) : QStringLiteral("MP3");
        }
        if (dynamic_cast<TagLib::FLAC::File *>(file) || dynamic_cast<TagLib::Ogg::FLAC::File *>(file))
            return QStringLiteral("FLAC");
        if (dynamic_cast<TagLib::Ogg::Vorbis::File *>(file))
            return QStringLiteral("Vorbis");
        if (dynamic_cast<TagLib::Ogg::Opus::File *>(file))
            return QStringLiteral("Opus");
        if (dynamic_cast<TagLib::Ogg::Speex::File *>(file))
            return QStringLiteral("Speex");
        if (auto *mp4 = dynamic_cast<TagLib::MP4::File *>(file)) {
            const auto *properties = mp4->audioProperties();
            if (!properties)
                return {};
            return properties->codec() == TagLib::MP4::Properties::ALAC ? QStringLiteral("ALAC")
                : properties->codec() == TagLib::MP4::Properties::AAC   ? QStringLiteral("AAC")
                                                                        : QString();
        }
        if (auto *wav = dynamic_cast<TagLib::RIFF::WAV::File *>(file)) {
            const auto *properties = wav->audioProperties();
            const int format = properties ? properties->format() : 0;
            // WAVE_FORMAT_PCM, _IEEE_FLOAT, _EXTENSIBLE (nearly always PCM), _MPEGLAYER3.
            return format == 1 || format == 3 || format == 0xFFFE ? QStringLiteral("PCM") : format == 0x55 ? QStringLiteral("MP3") : QString();
        }
        if (dynamic_cast<TagLib::RIFF::AIFF::File *>(file))
            return QStringLiteral("PCM");
        if (auto *asf = dynamic_cast<TagLib::ASF::File *>(file)) {
            const auto *properties = asf->audioProperties();
            return properties && properties->codec() == TagLib::ASF::Properties::WMA9Lossless ? QStringLiteral("WMA Lossless") : QStringLiteral("WMA");
        }
        if (dynamic_cast<TagLib::APE::File *>(file))
            return QStringLiteral("Monkey's Audio");
        if (dynamic_cast<TagLib::WavPack::File *>(file))
            return QStringLiteral("WavPack");
        if (dynamic_cast<TagLib::MPC::File *>(file))
            return QStringLiteral("Musepack");
        if (dynamic_cast<TagLib::TrueAudio::File *>(file))
            return QStringLiteral("TTA");
        return {};
    }

    class AudioExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return conforms(facts, UTType::audio()); }

        void extract(const QString &path, const FileFacts &, ExtractedAttributes &into) const override
        {
            InputFile input(path);
            if (!input.isOpen())
                return;
            try {
                // The stream owns the descriptor from here on. It has no name, so TagLib tells the
                // format by the contents.
                TagLib::FileStream stream(input.release(), true);
                if (!stream.isOpen())
                    return;
                const TagLib::FileRef ref(&stream, true, TagLib::AudioProperties::Fast);
                TagLib::File *file = ref.file();
                if (!file || !file->isValid())
                    return;
                // properties() rather than tag(): it merges every tag the file has (WAV INFO chunks
                // included, which tag() leaves out).
                const TagLib::PropertyMap properties = file->properties();
                if (const QStringList artists = values(properties, "ARTIST"); !artists.isEmpty())
                    into.insert(MDAttribute::authors.toString(), artists);
                const std::pair<QStringView, const char *> single[] = {
                    {MDAttribute::album, "ALBUM"},
                    {MDAttribute::title, "TITLE"},
                    {MDAttribute::musicalGenre, "GENRE"},
                };
                for (const auto &[attribute, key] : single) {
                    if (const QStringList list = values(properties, key); !list.isEmpty())
                        into.insert(attribute.toString(), list.first());
                }
                if (const TagLib::AudioProperties *audio = file->audioProperties(); audio && audio->lengthInMilliseconds() > 0)
                    into.insert(MDAttribute::durationSeconds.toString(), audio->lengthInMilliseconds() / 1000.0);
                if (const QString codec = codecOf(file); !codec.isEmpty())
                    into.insert(MDAttribute::codecs.toString(), QStringList {codec});
            } catch (const std::exception &) {
            }
        }
    };

} // namespace

std::unique_ptr<Extractor> makeAudioExtractor()
{
    return std::make_unique<AudioExtractor>();
}

} // namespace mdindex::extractors
