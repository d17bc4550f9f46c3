#pragma once

#include "Crawler.h"
#include "worker/ParseWorkers.h"

#include <memory>
#include <vector>

namespace mdindex {

// The extractors the program's index runs: a file's download addresses (extended attributes) are read
// here; its contents (pictures, media, documents, text, launchers) by a parsing worker.
std::vector<std::unique_ptr<Extractor>> workerExtractors(ParseWorkers::Priority priority);

// Whether a parsing worker has anything to read in a file of this kind.
bool contentsWanted(const FileFacts &facts);

} // namespace mdindex
