#include "MediaInput.h"

#include "FilePath.h"

#include <poppler/cpp/poppler-document.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include <cctype>
#include <cstdio>
#include <cstring>

namespace MediaInput {

std::unique_ptr<poppler::document> loadPdf(const InputFile &file)
{
    if (!file.isOpen() || file.size() <= 0 || file.size() > kMaxPdfBytes)
        return {};
    poppler::byte_array bytes(size_t(file.size()));
    if (file.readAt(0, bytes.data(), qint64(bytes.size())) != qint64(bytes.size()))
        return {};
    // The document takes the bytes over.
    return std::unique_ptr<poppler::document>(poppler::document::load_from_data(&bytes));
}

bool HeifReader::readInto(heif_context *context)
{
    static const heif_reader reader = {
        1,
        [](void *data) -> int64_t { return static_cast<InputCursor *>(data)->position(); },
        [](void *buffer, size_t size, void *data) -> int {
            auto *cursor = static_cast<InputCursor *>(data);
            return cursor->read(buffer, qint64(size)) == qint64(size) ? 0 : 1;
        },
        [](int64_t position, void *data) -> int {
            auto *cursor = static_cast<InputCursor *>(data);
            return position <= cursor->size() && cursor->seek(position) ? 0 : 1;
        },
        [](int64_t target, void *data) {
            return target > static_cast<InputCursor *>(data)->size() ? heif_reader_grow_status_size_beyond_eof : heif_reader_grow_status_size_reached;
        },
    };
    return heif_context_read_from_reader(context, &reader, &m_cursor, nullptr).code == heif_error_Ok;
}

int RawStream::read(void *buffer, size_t size, size_t count)
{
    if (size == 0 || count == 0)
        return 0;
    const qint64 n = m_cursor.read(buffer, qint64(size * count));
    return n <= 0 ? 0 : int(size_t(n) / size);
}

int RawStream::seek(INT64 offset, int whence)
{
    qint64 target = offset;
    if (whence == SEEK_CUR)
        target += m_cursor.position();
    else if (whence == SEEK_END)
        target += m_cursor.size();
    else if (whence != SEEK_SET)
        return -1;
    // As LibRaw's own file stream does: a position past the end is kept (and reads nothing there), a
    // negative one fails and leaves the position as it was.
    return m_cursor.seek(target) ? 0 : -1;
}

char *RawStream::gets(char *line, int size)
{
    // As std::istream::getline, which LibRaw's own file stream uses: the line ends at a newline, which is
    // taken but not kept; a line longer than the buffer, or nothing at all, is a failure.
    if (size < 1)
        return nullptr;
    int n = 0;
    for (;;) {
        const int c = m_cursor.getChar();
        if (c < 0) {
            line[n] = '\0';
            return n > 0 ? line : nullptr;
        }
        if (c == '\n')
            break;
        if (n == size - 1) {
            line[n] = '\0';
            return nullptr;
        }
        line[n++] = char(c);
    }
    line[n] = '\0';
    return line;
}

int RawStream::scanf_one(const char *format, void *value)
{
    // One word, as fscanf with a single conversion reads it.
    int c = m_cursor.getChar();
    while (c >= 0 && std::isspace(c))
        c = m_cursor.getChar();
    if (c < 0)
        return EOF;
    char word[32];
    int n = 0;
    while (c >= 0 && !std::isspace(c) && n < int(sizeof word) - 1) {
        word[n++] = char(c);
        c = m_cursor.getChar();
    }
    word[n] = '\0';
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    return std::sscanf(word, format, value);
#pragma GCC diagnostic pop
}

FormatInput::FormatInput(const InputFile &file, const QString &nameHint, qint64 milliseconds, int64_t probeSize, int64_t analyzeMicroseconds)
    : m_file(file)
    , m_milliseconds(milliseconds)
{
    constexpr int kIoBufferSize = 64 * 1024;
    if (!file.isOpen() || file.size() == 0)
        return;
    m_clock.start();
    AVFormatContext *format = avformat_alloc_context();
    auto *buffer = static_cast<uint8_t *>(av_malloc(kIoBufferSize));
    m_io = buffer ? avio_alloc_context(buffer, kIoBufferSize, 0, this, readPacket, nullptr, seekTo) : nullptr;
    if (!format || !m_io) {
        avformat_free_context(format);
        if (!m_io)
            av_free(buffer);
        return;
    }
    format->pb = m_io;
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    if (probeSize > 0)
        format->probesize = probeSize;
    if (analyzeMicroseconds > 0)
        format->max_analyze_duration = analyzeMicroseconds;
    format->interrupt_callback = {[](void *opaque) {
                                      const auto *input = static_cast<const FormatInput *>(opaque);
                                      return input->m_clock.elapsed() > input->m_milliseconds ? 1 : 0;
                                  },
        this};
    // On failure avformat_open_input frees the context itself.
    if (avformat_open_input(&format, FilePath::toNative(nameHint).constData(), nullptr, nullptr) == 0)
        m_format = format;
}

FormatInput::~FormatInput()
{
    if (m_format)
        avformat_close_input(&m_format);
    if (m_io) {
        av_freep(&m_io->buffer);
        avio_context_free(&m_io);
    }
}

int FormatInput::readPacket(void *opaque, uint8_t *buffer, int size)
{
    auto *input = static_cast<FormatInput *>(opaque);
    const qint64 n = input->m_file.readAt(input->m_position, buffer, size);
    if (n < 0)
        return AVERROR(EIO);
    if (n == 0)
        return AVERROR_EOF;
    input->m_position += n;
    return int(n);
}

int64_t FormatInput::seekTo(void *opaque, int64_t offset, int whence)
{
    auto *input = static_cast<FormatInput *>(opaque);
    if (whence & AVSEEK_SIZE)
        return input->m_file.size();
    qint64 target = offset;
    switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
        break;
    case SEEK_CUR:
        target += input->m_position;
        break;
    case SEEK_END:
        target += input->m_file.size();
        break;
    default:
        return -1;
    }
    if (target < 0)
        return -1;
    input->m_position = target;
    return target;
}

} // namespace MediaInput
