#pragma once

#include "mdindex/Crawler.h"

#include <memory>
#include <vector>

namespace mdindex {

// Every extractor the index runs, one per kind of file.
std::vector<std::unique_ptr<Extractor>> standardExtractors();
// The extractors that read a file's contents (all but the download addresses, which are extended
// attributes): what the parsing worker runs.
std::vector<std::unique_ptr<Extractor>> contentExtractors();

namespace extractors {
    // Pixel size as displayed, camera, capture date and the screen-capture rule.
    std::unique_ptr<Extractor> makePictureExtractor();
    // Duration, artist, album, title, genre and codecs from the tags.
    std::unique_ptr<Extractor> makeAudioExtractor();
    // Duration, pixel size as displayed, codecs, creation date; screen recordings.
    std::unique_ptr<Extractor> makeVideoExtractor();
    // Pages, title, authors and the text.
    std::unique_ptr<Extractor> makePdfExtractor();
    // The text of ODF and OOXML documents, presentations and spreadsheets.
    std::unique_ptr<Extractor> makeOfficeExtractor();
    // The text of plain text, Markdown, source code, HTML and RTF.
    std::unique_ptr<Extractor> makeTextExtractor();
    // The name of a launcher as its menu shows it.
    std::unique_ptr<Extractor> makeApplicationExtractor();
    // The addresses a file was downloaded from.
    std::unique_ptr<Extractor> makeWhereFromsExtractor();
} // namespace extractors

} // namespace mdindex
