#include "layout/name_value_map.h"

#include <cctype>
#include <climits>
#include <cstdlib>

namespace morva {

bool CaseInsensitiveLess::operator()(const std::string& a, const std::string& b) const {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        const int x = std::toupper(static_cast<unsigned char>(a[i]));
        const int y = std::toupper(static_cast<unsigned char>(b[i]));
        if (x != y) return x < y;
    }
    return a.size() < b.size();
}

int splitString(const std::string& text, const std::string& delimiter,
                std::vector<std::string>& tokens, int maxCount) {
    if (text.empty() || delimiter.empty()) return 0;
    size_t position = 0;
    int count = 0;
    int remaining = maxCount;
    for (;;) {
        const size_t found = text.find(delimiter, position);
        if (found == std::string::npos) break;
        ++count;
        --remaining;
        tokens.push_back(text.substr(position, found - position));
        position = found + delimiter.size();
        if (remaining == 0) break;
    }
    if (position != text.size() && count > 0) {
        ++count;
        tokens.push_back(text.substr(position));
    }
    return count;
}

std::string trimString(const std::string& text, const std::string& blanks) {
    const size_t last = text.find_last_not_of(blanks);
    if (last == std::string::npos) return {};
    const std::string kept = text.substr(0, last + 1);
    return kept.substr(kept.find_first_not_of(blanks));
}

std::string& CSTDNameValueMap::getValue(const std::string& name) { return values_[name]; }

int32_t CSTDNameValueMap::getInt(const std::string& name) {
    const long value = std::strtol(getValue(name).c_str(), nullptr, 10);
    if (value > INT32_MAX) return INT32_MAX;
    if (value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(value);
}

bool CSTDNameValueMap::parse(const std::string& text, const std::string& pairSeparator,
                             const std::string& nameSeparator, bool trim) {
    std::vector<std::string> tokens;
    if (splitString(text, pairSeparator, tokens, 0) == 0) return false;
    for (const std::string& token : tokens) {
        std::vector<std::string> parts;
        // A value can't hold the name separator: such a pair has three parts
        // and is dropped.
        if (splitString(token, nameSeparator, parts, 2) != 2) continue;
        if (trim) {
            parts[0] = trimString(parts[0], " ");
            parts[1] = trimString(parts[1], " ");
        }
        getValue(parts[0]) = parts[1];
    }
    return true;
}

}  // namespace morva
