#include "ExtractorSupport.h"
#include "Extractors.h"
#include "ScreenCapture.h"
#include "media/MediaInput.h"

#include <QDateTime>
#include <QRegularExpression>
#include <QStringList>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/display.h>
}

#include <cmath>
#include <cstring>
#include <mutex>

using namespace Qt::StringLiterals;

namespace mdindex::extractors {

namespace {

    // Enough to find every stream's codec and size in ordinary files, little enough to stay cheap.
    constexpr int64_t kProbeSize = 1024 * 1024;
    constexpr int64_t kAnalyzeMicroseconds = 500'000;
    // A damaged file can still make the demuxer wander; no file gets more than this.
    constexpr qint64 kMaxMilliseconds = 3000;
    constexpr qsizetype kMaxTagLength = 1024;

    // The names people know codecs by, for the common ones; FFmpeg's own short name otherwise.
    QString codecName(AVCodecID id)
    {
        switch (id) {
        case AV_CODEC_ID_H264:
            return QStringLiteral("H.264");
        case AV_CODEC_ID_HEVC:
            return QStringLiteral("HEVC");
        case AV_CODEC_ID_MPEG4:
            return QStringLiteral("MPEG-4 Video");
        case AV_CODEC_ID_MPEG2VIDEO:
            return QStringLiteral("MPEG-2 Video");
        case AV_CODEC_ID_VP8:
            return QStringLiteral("VP8");
        case AV_CODEC_ID_VP9:
            return QStringLiteral("VP9");
        case AV_CODEC_ID_AV1:
            return QStringLiteral("AV1");
        case AV_CODEC_ID_PRORES:
            return QStringLiteral("ProRes");
        case AV_CODEC_ID_AAC:
            return QStringLiteral("AAC");
        case AV_CODEC_ID_MP3:
            return QStringLiteral("MP3");
        case AV_CODEC_ID_AC3:
            return QStringLiteral("AC-3");
        case AV_CODEC_ID_EAC3:
            return QStringLiteral("E-AC-3");
        case AV_CODEC_ID_OPUS:
            return QStringLiteral("Opus");
        case AV_CODEC_ID_VORBIS:
            return QStringLiteral("Vorbis");
        case AV_CODEC_ID_FLAC:
            return QStringLiteral("FLAC");
        case AV_CODEC_ID_ALAC:
            return QStringLiteral("ALAC");
        default:
            break;
        }
        if (id >= AV_CODEC_ID_FIRST_AUDIO && id < AV_CODEC_ID_ADPCM_IMA_QT)
            return QStringLiteral("PCM");
        if (id == AV_CODEC_ID_NONE)
            return {};
        return QString::fromLatin1(avcodec_get_name(id));
    }

    QDateTime creationTime(const AVDictionary *metadata)
    {
        const AVDictionaryEntry *entry = av_dict_get(metadata, "creation_time", nullptr, 0);
        if (!entry || !entry->value)
            return {};
        // "2024-05-06T07:08:09.000000Z": microseconds, which Qt's ISO parser does not take; a time
        // without a zone is UTC, as FFmpeg writes it.
        static const QRegularExpression iso(u"^(\\d{4}-\\d{2}-\\d{2})[T ](\\d{2}:\\d{2}:\\d{2})(?:\\.\\d+)?(Z|[+-]\\d{2}:?\\d{2})?$"_s);
        const QRegularExpressionMatch match = iso.match(QString::fromLatin1(entry->value).left(64));
        if (!match.hasMatch())
            return {};
        const QString zone = match.captured(3).isEmpty() ? u"Z"_s : match.captured(3);
        const QDateTime when = QDateTime::fromString(match.captured(1) + u'T' + match.captured(2) + zone, Qt::ISODate);
        // Containers write a zero date when they know none.
        if (!when.isValid() || when.date().year() < 1971)
            return {};
        return when.toUTC();
    }

    // A text tag of the container, as FFmpeg names it for every format ("title", "artist").
    QString textTag(const AVDictionary *metadata, const char *key)
    {
        const AVDictionaryEntry *entry = av_dict_get(metadata, key, nullptr, 0);
        return entry && entry->value ? QString::fromUtf8(entry->value, qsizetype(strnlen(entry->value, size_t(kMaxTagLength)))).trimmed() : QString();
    }

    // Display rotation from the stream's matrix, or the older "rotate" tag.
    double rotationOf(const AVStream *stream)
    {
        size_t size = 0;
        if (const uint8_t *matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size); matrix && size >= 9 * sizeof(int32_t)) {
            const double angle = av_display_rotation_get(reinterpret_cast<const int32_t *>(matrix));
            if (std::isfinite(angle))
                return std::fmod(angle, 360.0);
        }
        if (const AVDictionaryEntry *tag = av_dict_get(stream->metadata, "rotate", nullptr, 0); tag && tag->value) {
            const double angle = QByteArray(tag->value).left(32).toDouble();
            if (std::isfinite(angle))
                return std::fmod(angle, 360.0);
        }
        return 0;
    }

    class VideoExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return conforms(facts, UTType::movie()); }

        void extract(const QString &path, const FileFacts &facts, ExtractedAttributes &into) const override
        {
            into.insert(MDAttribute::isScreenCapture.toString(), ScreenCapture::byPlaceOrName(path, facts.name, true));

            static std::once_flag once;
            std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });

            const InputFile file(path);
            const MediaInput::FormatInput input(file, facts.name, kMaxMilliseconds, kProbeSize, kAnalyzeMicroseconds);
            if (AVFormatContext *format = input.context(); format && avformat_find_stream_info(format, nullptr) >= 0)
                read(format, into);
        }

    private:
        static void read(const AVFormatContext *format, ExtractedAttributes &into)
        {
            double duration = format->duration > 0 ? double(format->duration) / AV_TIME_BASE : 0;
            QStringList codecs;
            const AVStream *picture = nullptr;
            QDateTime created = creationTime(format->metadata);
            for (unsigned i = 0; i < format->nb_streams; ++i) {
                const AVStream *stream = format->streams[i];
                const AVCodecParameters *parameters = stream->codecpar;
                // Cover art is a picture, not the film.
                if (parameters->codec_type == AVMEDIA_TYPE_VIDEO && (stream->disposition & AV_DISPOSITION_ATTACHED_PIC))
                    continue;
                if (parameters->codec_type != AVMEDIA_TYPE_VIDEO && parameters->codec_type != AVMEDIA_TYPE_AUDIO)
                    continue;
                if (const QString name = codecName(parameters->codec_id); !name.isEmpty() && !codecs.contains(name))
                    codecs.append(name);
                if (parameters->codec_type == AVMEDIA_TYPE_VIDEO && !picture && parameters->width > 0 && parameters->height > 0)
                    picture = stream;
                if (duration <= 0 && stream->duration > 0 && stream->time_base.den > 0)
                    duration = double(stream->duration) * av_q2d(stream->time_base);
                if (!created.isValid())
                    created = creationTime(stream->metadata);
            }
            if (duration > 0 && std::isfinite(duration))
                into.insert(MDAttribute::durationSeconds.toString(), duration);
            if (picture) {
                qint64 width = picture->codecpar->width;
                qint64 height = picture->codecpar->height;
                const long quarterTurns = std::lround(rotationOf(picture) / 90.0);
                if (quarterTurns % 2 != 0)
                    std::swap(width, height);
                into.insert(MDAttribute::pixelWidth.toString(), width);
                into.insert(MDAttribute::pixelHeight.toString(), height);
            }
            if (!codecs.isEmpty())
                into.insert(MDAttribute::codecs.toString(), codecs);
            if (created.isValid())
                into.insert(MDAttribute::contentCreationDate.toString(), created);
            if (const QString title = textTag(format->metadata, "title"); !title.isEmpty())
                into.insert(MDAttribute::title.toString(), title);
            if (const QString artist = textTag(format->metadata, "artist"); !artist.isEmpty())
                into.insert(MDAttribute::authors.toString(), QStringList {artist});
        }
    };

} // namespace

std::unique_ptr<Extractor> makeVideoExtractor()
{
    return std::make_unique<VideoExtractor>();
}

} // namespace mdindex::extractors
