#pragma once

// Background work that should not be felt: the index's walks and its extraction of file contents.
namespace BackgroundPriority {

// Lowers the calling thread to the lowest CPU priority (nice 19) and the idle I/O class, so that it
// runs only when nothing else wants the processor or the disk. Only this thread is affected (on
// Linux, priorities belong to threads); it cannot be raised again without privileges, so call it
// from threads that do nothing but background work. False when the system refused either part.
bool lowerCurrentThread();

} // namespace BackgroundPriority
