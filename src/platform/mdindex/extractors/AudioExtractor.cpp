#include "ExtractorSupport.h"
#include "Extractors.h"

#include <QStringList>
#include <QtEndian>

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

#include <cstring>

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

    // The text chunks of an AIFF file (NAME, AUTH), which TagLib leaves out: it reads only an ID3 chunk,
    // and many programs, ffmpeg among them, write these instead.
    struct AiffText {
        QString name;
        QString author;
    };

    AiffText aiffText(const InputFile &file)
    {
        AiffText text;
        uchar header[12];
        if (file.readAt(0, header, 12) != 12 || memcmp(header, "FORM", 4) != 0 || (memcmp(header + 8, "AIFF", 4) != 0 && memcmp(header + 8, "AIFC", 4) != 0))
            return text;
        const qint64 end = std::min<qint64>(file.size(), 8 + qint64(qFromBigEndian<quint32>(header + 4)));
        qint64 offset = 12;
        for (int chunk = 0; chunk < 256 && offset + 8 <= end; ++chunk) {
            uchar chunkHeader[8];
            if (file.readAt(offset, chunkHeader, 8) != 8)
                break;
            const QByteArrayView id(reinterpret_cast<const char *>(chunkHeader), 4);
            const qint64 length = qFromBigEndian<quint32>(chunkHeader + 4);
            QString *into = id == "NAME" ? &text.name : id == "AUTH" ? &text.author : nullptr;
            if (into && into->isEmpty()) {
                // Text chunks hold plain characters; in practice they are UTF-8 or Latin-1.
                QByteArray bytes = file.readAt(offset + 8, std::min<qint64>(length, kMaxValueLength * 4));
                if (const qsizetype nul = bytes.indexOf('\0'); nul >= 0)
                    bytes.truncate(nul);
                *into = decodeText(bytes).trimmed().left(kMaxValueLength);
            }
            // Chunks are padded to an even length.
            offset += 8 + length + (length & 1);
        }
        return text;
    }

    class AudioExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return conforms(facts, UTType::audio()); }

        void extract(const QString &path, const FileFacts &, ExtractedAttributes &into) const override
        {
            const InputFile input(path);
            if (!input.isOpen())
                return;
            try {
                // The stream owns a copy of the descriptor. It has no name, so TagLib tells the format
                // by the contents.
                TagLib::FileStream stream(input.duplicate(), true);
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
                if (dynamic_cast<TagLib::RIFF::AIFF::File *>(file)) {
                    const AiffText text = aiffText(input);
                    if (!text.name.isEmpty() && values(properties, "TITLE").isEmpty())
                        into.insert(MDAttribute::title.toString(), text.name);
                    if (!text.author.isEmpty() && !into.contains(MDAttribute::authors.toString()))
                        into.insert(MDAttribute::authors.toString(), QStringList {text.author});
                }
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
