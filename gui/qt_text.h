// UTF-8 text of the toolkit-free core as Qt strings.
#pragma once

#include <QString>
#include <string_view>

namespace brinora {

inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace brinora
