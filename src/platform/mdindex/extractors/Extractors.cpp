#include "Extractors.h"

namespace mdindex {

std::vector<std::unique_ptr<Extractor>> standardExtractors()
{
    std::vector<std::unique_ptr<Extractor>> all = contentExtractors();
    all.push_back(extractors::makeWhereFromsExtractor());
    return all;
}

std::vector<std::unique_ptr<Extractor>> contentExtractors()
{
    std::vector<std::unique_ptr<Extractor>> all;
    all.push_back(extractors::makePictureExtractor());
    all.push_back(extractors::makeAudioExtractor());
    all.push_back(extractors::makeVideoExtractor());
    all.push_back(extractors::makePdfExtractor());
    all.push_back(extractors::makeOfficeExtractor());
    all.push_back(extractors::makeTextExtractor());
    all.push_back(extractors::makeApplicationExtractor());
    return all;
}

} // namespace mdindex
