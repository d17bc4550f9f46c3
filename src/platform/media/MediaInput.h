#pragma once

#include "InputFile.h"

#include <libheif/heif.h>
#include <libraw/libraw_datastream.h>

#include <QElapsedTimer>

#include <memory>

struct AVFormatContext;
struct AVIOContext;

namespace poppler {
class document;
}

// The native libraries read a person's files through an InputFile opened once, never by the file's
// name: each gets the descriptor in the form it takes.
namespace MediaInput {

// PDFs are read whole into memory for poppler; larger ones are left alone.
inline constexpr qint64 kMaxPdfBytes = 256 * 1024 * 1024;

// A PDF read from the file; null when it is too large or poppler cannot make sense of it. A document
// that needs a password comes back locked: ask `is_locked()` before anything else, poppler does not
// survive most other questions about it.
std::unique_ptr<poppler::document> loadPdf(const InputFile &file);

// libheif reads through this while its context lives; the reader must outlive the context.
class HeifReader
{
public:
    explicit HeifReader(const InputFile &file)
        : m_cursor(file)
    {
    }
    bool readInto(heif_context *context);

private:
    InputCursor m_cursor;
};

// LibRaw's input over the file. LibRaw does not own it: it must outlive the LibRaw object's use of it.
class RawStream final : public LibRaw_abstract_datastream
{
public:
    explicit RawStream(const InputFile &file)
        : m_cursor(file)
    {
    }

    int valid() override { return 1; }
    int read(void *buffer, size_t size, size_t count) override;
    int seek(INT64 offset, int whence) override;
    INT64 tell() override { return m_cursor.position(); }
    INT64 size() override { return m_cursor.size(); }
    int get_char() override { return m_cursor.getChar(); }
    char *gets(char *line, int size) override;
    int scanf_one(const char *format, void *value) override;
    int eof() override { return m_cursor.atEnd() ? 1 : 0; }
    void *make_jas_stream() override { return nullptr; }

private:
    InputCursor m_cursor;
};

// FFmpeg's demuxer over the file. `nameHint` (the file's name) helps the probe of formats without a
// header and opens nothing; no call through the context runs longer than `milliseconds` in all.
class FormatInput
{
public:
    FormatInput(const InputFile &file, const QString &nameHint, qint64 milliseconds, int64_t probeSize = 0, int64_t analyzeMicroseconds = 0);
    ~FormatInput();
    FormatInput(const FormatInput &) = delete;
    FormatInput &operator=(const FormatInput &) = delete;

    // Null when FFmpeg could not open the file.
    AVFormatContext *context() const { return m_format; }

private:
    static int readPacket(void *opaque, uint8_t *buffer, int size);
    static int64_t seekTo(void *opaque, int64_t offset, int whence);

    const InputFile &m_file;
    qint64 m_position = 0;
    qint64 m_milliseconds;
    QElapsedTimer m_clock;
    AVFormatContext *m_format = nullptr;
    AVIOContext *m_io = nullptr;
};

} // namespace MediaInput
