#include "app/option_choice.h"

#include <cstddef>
#include <span>
#include <vector>

#include "app/option_titles.h"

namespace brinora {
namespace {

// Longest piece of the user's text repeated in a message.
constexpr std::size_t kEchoLimit = 40;
// Length kept when the text is longer than kEchoLimit.
constexpr std::size_t kEchoKept = 32;

std::span<const std::string_view> titlesOf(OptionMenu menu) {
    switch (menu) {
        case OptionMenu::kConstants:
            return options::kConstantsSetTitles;
        case OptionMenu::kKHSO4:
            return options::kKHSO4Titles;
        case OptionMenu::kpHScale:
            return options::kpHScaleTitles;
        case OptionMenu::kFlux:
            return options::kAirSeaFluxTitles;
    }
    return {};
}

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Lower-case ASCII with the outer blanks removed and inner runs of blanks made one space.
std::string normalised(std::string_view text) {
    std::string out;
    bool blank = false;
    for (const char c : text) {
        if (isSpace(c)) {
            blank = !out.empty();
            continue;
        }
        if (blank) out += ' ';
        blank = false;
        out += lowerAscii(c);
    }
    return out;
}

// The user's text as a message shows it: at most kEchoLimit bytes, cut on a
// character boundary, control bytes shown as '?', in double quotes.
std::string echo(std::string_view text) {
    std::string shown;
    const bool cut = text.size() > kEchoLimit;
    std::size_t end = cut ? kEchoKept : text.size();
    // Do not split a UTF-8 sequence: back off over continuation bytes.
    while (cut && end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    for (std::size_t k = 0; k < end; ++k) {
        const unsigned char c = static_cast<unsigned char>(text[k]);
        shown += (c < 0x20 || c == 0x7F) ? '?' : static_cast<char>(c);
    }
    if (cut) return "\"" + shown + "...\" (" + std::to_string(text.size()) + " characters)";
    return "\"" + shown + "\"";
}

std::string itemRange(std::size_t last) { return "1.." + std::to_string(last); }

// The text without its outer blanks.
std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// An optionally signed run of decimal digits.
bool looksLikeNumber(std::string_view text) {
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) text.remove_prefix(1);
    if (text.empty()) return false;
    for (const char c : text) {
        if (!isDigit(c)) return false;
    }
    return true;
}

OptionChoice error(std::string message) { return OptionChoice{0, std::move(message)}; }

}  // namespace

OptionChoice parseOptionChoice(OptionMenu menu, std::string_view text) {
    const std::span<const std::string_view> titles = titlesOf(menu);
    const std::size_t last = titles.size() - 1;  // item 0 is the placeholder
    text = trimmed(text);
    const std::string wanted = normalised(text);
    if (wanted.empty()) return error("no choice given; give a number " + itemRange(last) + " or a title");

    if (looksLikeNumber(wanted)) {
        std::string_view digits = wanted;
        const bool negative = digits.front() == '-';
        if (digits.front() == '+' || negative) digits.remove_prefix(1);
        while (digits.size() > 1 && digits.front() == '0') digits.remove_prefix(1);
        // More than four digits are out of every menu; no conversion can overflow.
        int item = 0;
        if (!negative && digits.size() <= 4) {
            for (const char c : digits) item = item * 10 + (c - '0');
        }
        if (item >= 1 && static_cast<std::size_t>(item) <= last) return OptionChoice{item, {}};
        return error("there is no item " + echo(text) + "; the items are " + itemRange(last));
    }

    std::vector<int> candidates;
    for (std::size_t item = 1; item <= last; ++item) {
        const std::string title = normalised(titles[item]);
        if (title == wanted) return OptionChoice{static_cast<int>(item), {}};
        if (title.starts_with(wanted)) candidates.push_back(static_cast<int>(item));
    }
    if (candidates.size() == 1) return OptionChoice{candidates.front(), {}};
    if (candidates.empty()) {
        return error(echo(text) + " is neither an item number (" + itemRange(last) +
                     ") nor the beginning of a title");
    }
    std::string list;
    for (const int item : candidates) {
        if (!list.empty()) list += ", ";
        list += std::to_string(item) + " \"" + std::string(titles[static_cast<std::size_t>(item)]) + "\"";
    }
    return error(echo(text) + " fits more than one item: " + list + "; give more of the title or the number");
}

}  // namespace brinora
