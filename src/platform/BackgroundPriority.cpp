#include "BackgroundPriority.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace BackgroundPriority {

bool lowerCurrentThread()
{
    // QThread::LowPriority does nothing on Linux: the scheduler knows only nice values, per thread id.
    const auto tid = pid_t(::syscall(SYS_gettid));
    const bool niced = ::setpriority(PRIO_PROCESS, id_t(tid), 19) == 0;
    // ioprio_set(IOPRIO_WHO_PROCESS, tid, IOPRIO_PRIO_VALUE(IOPRIO_CLASS_IDLE, 0)); glibc has no wrapper.
    constexpr int ioprioWhoProcess = 1;
    constexpr int ioprioClassIdle = 3;
    constexpr int ioprioClassShift = 13;
    const bool idle = ::syscall(SYS_ioprio_set, ioprioWhoProcess, tid, ioprioClassIdle << ioprioClassShift) == 0;
    return niced && idle;
}

} // namespace BackgroundPriority
