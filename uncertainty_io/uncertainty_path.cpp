#include "uncertainty_io/uncertainty_path.h"

#include <cctype>

namespace brinora::uncertainty {

std::string DefaultUncertaintyPath(const std::string& output) {
    std::string stem = output;
    if (stem.size() > 4) {
        std::string end = stem.substr(stem.size() - 4);
        for (char& c : end) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (end == ".csv") stem.resize(stem.size() - 4);
    }
    return stem + "_uncertainty.csv";
}

}  // namespace brinora::uncertainty
