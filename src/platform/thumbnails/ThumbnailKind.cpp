#include "ThumbnailGenerator.h"

#include "UTType.h"

#include <sys/resource.h>
#include <unistd.h>

// The parts of ThumbnailGenerator the program itself runs: making the pictures is the parsing
// worker's.
namespace ThumbnailGenerator {

Kind kindOf(const QString &path)
{
    return kindOf(UTType::forFile(path));
}

Kind kindOf(const std::optional<UTType> &type)
{
    if (!type)
        return Kind::none;
    if (type->conforms(u"public.heif-standard") || type->conforms(u"public.avif"))
        return Kind::heif;
    if (type->conforms(u"public.camera-raw-image"))
        return Kind::cameraRaw;
    if (type->conforms(UTType::image()))
        return Kind::picture;
    if (type->conforms(UTType::pdf()))
        return Kind::pdf;
    if (type->conforms(UTType::audio()))
        return Kind::audio;
    if (type->conforms(UTType::movie()))
        return Kind::video;
    return Kind::none;
}

void lowerThreadPriority()
{
    thread_local bool lowered = false;
    if (lowered)
        return;
    lowered = true;
    // On Linux a nice value belongs to the thread, not the process.
    ::setpriority(PRIO_PROCESS, id_t(::gettid()), 10);
}

} // namespace ThumbnailGenerator
