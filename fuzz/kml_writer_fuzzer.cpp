// Fuzz target: one KML placemark from random fields and board values. The
// input is
//   byte 0        the number L of bytes that fill the board,
//   bytes 1..4    the sample number (little-endian; zero bytes when short),
//   next L bytes  the board, slot 0 upwards: one byte picks a special value
//                 (not-a-number, infinities, zeros, extremes, ocean values)
//                 or a small integer, or announces four bytes of a raw float,
//   the rest      a batch line, split at "," into its fields.
//
// Checks, against a placemark of the same board and number with every field
// empty (the skeleton):
// - the markup is the skeleton's, tag for tag, and the skeleton's tags nest
//   (so the placemark is a well-formed XML fragment);
// - no text between tags holds a raw "<" or ">", and every "&" starts one of
//   the five entities;
// - every field the placemark shows appears in it escaped (as restated here);
// - the size is the skeleton's plus, for each field, its escaped size times
//   the number of places that show it: linear in the input, nothing expanded
//   twice.
#include <cfloat>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "input/fields.h"
#include "records/batch_record.h"
#include "engine/board.h"
#include "engine/slots.h"
#include "fuzz_support.h"

namespace {

using brinora::Board;
using brinora::fuzz::require;

constexpr float kSpecial[] = {
    0.0f, -0.0f, std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN(),
    std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(), -9.0f, -999.0f,
    1.0f, -1.0f, 35.0f, 25.0f, 2300.0f, 2000.0f, 8.1f, 400.0f,
    0.0005f, -0.0005f, 0.0004999f, 1e30f, FLT_MAX, -FLT_MAX, FLT_MIN, 1e-45f,
};
constexpr std::size_t kSpecialCount = sizeof kSpecial / sizeof kSpecial[0];

// The five characters XML reserves, written as entities; what XML 1.0
// cannot hold (a control character but tab, line feed and carriage return,
// U+FFFE, U+FFFF, each byte that is not part of a well-formed UTF-8
// character) as U+FFFD.
std::string escaped(std::string_view text) {
    std::string out;
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    for (std::size_t i = 0; i < text.size();) {
        const unsigned char c = bytes[i];
        if (c >= 0x80) {
            // The character's code point, by its bytes; a well-formed one is copied.
            std::size_t length = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 0;
            std::uint32_t point = length == 4 ? c & 0x07u : length == 3 ? c & 0x0Fu : c & 0x1Fu;
            bool ok = length != 0 && c <= 0xF4 && i + length <= text.size();
            for (std::size_t k = 1; ok && k < length; ++k) {
                ok = (bytes[i + k] & 0xC0) == 0x80;
                point = (point << 6) | (bytes[i + k] & 0x3Fu);
            }
            const std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
            ok = ok && point >= least[length] && point <= 0x10FFFF && !(point >= 0xD800 && point <= 0xDFFF);
            if (ok && (point == 0xFFFE || point == 0xFFFF)) {
                out += "\xEF\xBF\xBD";  // a whole character XML forbids
                i += length;
            } else if (ok) {
                out.append(text.substr(i, length));
                i += length;
            } else {
                out += "\xEF\xBF\xBD";
                ++i;
            }
            continue;
        }
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            case '\'': out += "&apos;"; break;
            default: out += c < 0x20 && c != '\t' && c != '\n' && c != '\r' ? std::string("\xEF\xBF\xBD") : std::string(1, static_cast<char>(c));
        }
        ++i;
    }
    return out;
}

// The markup of a fragment: every tag, processing instruction or CDATA
// section in order. Fails the run on a raw "<" or ">" in text, on an "&"
// that starts no entity, and on an unclosed tag.
std::vector<std::string_view> markup(std::string_view text) {
    static constexpr std::string_view kEntities[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};
    std::vector<std::string_view> tags;
    std::size_t i = 0;
    while (i < text.size()) {
        const char c = text[i];
        if (c == '<') {
            std::size_t end;
            if (text.substr(i).starts_with("<![CDATA[")) {
                end = text.find("]]>", i);
                require(end != std::string_view::npos, "CDATA section closed");
                end += 3;
            } else {
                std::size_t j = i + 1;
                while (j < text.size() && text[j] != '>') {
                    if (text[j] == '"' || text[j] == '\'') {
                        const std::size_t close = text.find(text[j], j + 1);
                        require(close != std::string_view::npos, "attribute value closed");
                        j = close;
                    }
                    ++j;
                }
                require(j < text.size(), "tag closed");
                end = j + 1;
            }
            tags.push_back(text.substr(i, end - i));
            i = end;
        } else if (c == '>') {
            require(false, "no raw > in text");
        } else if (c == '&') {
            bool entity = false;
            for (const std::string_view e : kEntities) entity = entity || text.substr(i).starts_with(e);
            require(entity, "every & starts an entity");
            ++i;
        } else {
            ++i;
        }
    }
    return tags;
}

// Name of an element tag ("<a b=...>", "</a>", "<a/>").
std::string_view tagName(std::string_view tag) {
    std::size_t start = tag[1] == '/' ? 2 : 1;
    std::size_t end = start;
    while (end < tag.size() && tag[end] != ' ' && tag[end] != '>' && tag[end] != '/') ++end;
    return tag.substr(start, end - start);
}

// Requires the element tags of `tags` to nest, each closed by its own name.
void requireNested(const std::vector<std::string_view>& tags) {
    std::vector<std::string_view> open;
    for (const std::string_view tag : tags) {
        if (tag.starts_with("<![CDATA[") || tag.starts_with("<?") || tag.starts_with("<!")) continue;
        const std::string_view name = tagName(tag);
        require(!name.empty(), "a tag has a name");
        if (tag[1] == '/') {
            require(!open.empty() && open.back() == name, "closing tag matches the open one");
            open.pop_back();
        } else if (!tag.ends_with("/>")) {
            open.push_back(name);
        }
    }
    require(open.empty(), "every element closed");
}

struct Fixed {
    brinora::PlacemarkTemplate placemark;
    std::string skeletonText;                  // skeleton of a zero board, number 0
    std::vector<std::string_view> skeletonTags;
    std::size_t uses[brinora::kBatchLineFields] = {};  // places that show each field
};

const Fixed& fixed() {
    static const Fixed instance = [] {
        Fixed f;
        const Board board;
        const brinora::BatchFields none{};
        f.placemark.append(f.skeletonText, none, board, 0);
        f.skeletonTags = markup(f.skeletonText);
        requireNested(f.skeletonTags);
        require(f.skeletonTags.front() == "<Placemark>" && f.skeletonTags.back() == "</Placemark>",
                "one Placemark element");
        for (std::size_t k = 0; k < brinora::kBatchLineFields; ++k) {
            brinora::BatchFields one{};
            one[k] = "x";
            std::string text;
            f.placemark.append(text, one, board, 0);
            f.uses[k] = text.size() - f.skeletonText.size();
        }
        require(f.uses[1] == 1 && f.uses[4] == 2 && f.uses[5] == 2 && f.uses[0] == 0,
                "name once, latitude and longitude twice, sample id not shown");
        return f;
    }();
    return instance;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Fixed& f = fixed();
    std::size_t at = 0;
    const std::size_t boardBytes = size > 0 ? data[at++] : 0;
    std::uint32_t number = 0;
    for (int k = 0; k < 4 && at < size; ++k) number |= static_cast<std::uint32_t>(data[at++]) << (8 * k);
    const std::size_t boardEnd = at + boardBytes < size ? at + boardBytes : size;
    Board board;
    for (std::uint32_t pos = 0; pos < Board::kSize && at < boardEnd; ++pos) {
        const std::uint8_t pick = data[at++];
        float value = 0.0f;
        if (pick < 0x40) {
            value = kSpecial[pick % kSpecialCount];
        } else if (pick < 0x80) {
            value = static_cast<float>(static_cast<int>(pick) - 0x48);
        } else if (at + 4 <= boardEnd) {
            std::memcpy(&value, data + at, 4);
            at += 4;
        }
        board.set(pos, value);
    }
    const std::string_view line(reinterpret_cast<const char*>(data) + boardEnd, size - boardEnd);
    brinora::BatchFields fields;
    brinora::splitBatchFields(line, fields);

    std::string skeleton;
    f.placemark.append(skeleton, brinora::BatchFields{}, board, number);
    std::string placemark = "kept";  // append() adds to what the buffer holds
    f.placemark.append(placemark, fields, board, number);
    require(placemark.starts_with("kept"), "append keeps the buffer's text");
    const std::string_view text = std::string_view(placemark).substr(4);

    require(markup(text) == f.skeletonTags, "the markup of the skeleton, tag for tag");
    std::size_t expectedSize = skeleton.size();
    for (std::size_t k = 0; k < brinora::kBatchLineFields; ++k) {
        if (f.uses[k] == 0) continue;
        const std::string e = escaped(fields[k]);
        std::string viaWriter;
        brinora::appendXmlEscaped(viaWriter, fields[k]);
        require(viaWriter == e, "appendXmlEscaped escapes the five characters and replaces what XML cannot hold");
        require(text.find(e) != std::string_view::npos, "every shown field appears escaped");
        expectedSize += f.uses[k] * e.size();
    }
    require(text.size() == expectedSize, "size: the skeleton's plus the escaped fields where shown");

    char digits[16];
    std::snprintf(digits, sizeof digits, " %u</name>", static_cast<unsigned>(number));
    require(text.find(escaped(fields[1]) + digits) != std::string_view::npos, "name and sample number");
    char salinity[80];
    std::snprintf(salinity, sizeof salinity, "<Td>Salinity</Td><Td>%.3f</Td>",
                  static_cast<double>(board.get(brinora::slot::kSalinity)));
    require(text.find(salinity) != std::string_view::npos, "salinity as %.3f");
    return 0;
}
