// Text pairs of name and value, filled from one line of text such as
// "rows:2;columns:3;". Names compare without regard to case.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace morva {

// Orders texts character by character through toupper; a text that ends
// first is the smaller.
struct CaseInsensitiveLess {
    bool operator()(const std::string& a, const std::string& b) const;
};

// Appends the pieces of text between occurrences of delimiter (a whole text)
// to tokens and returns their number. A text without the delimiter yields no
// token at all; a trailing delimiter yields no empty last token. maxCount 0
// means no limit.
int splitString(const std::string& text, const std::string& delimiter,
                std::vector<std::string>& tokens, int maxCount);

// text without leading and trailing characters of blanks.
std::string trimString(const std::string& text, const std::string& blanks);

class CSTDNameValueMap {
public:
    virtual ~CSTDNameValueMap() = default;

    // The value of name; a name that isn't there is added with an empty value.
    virtual std::string& getValue(const std::string& name);
    // The value read as a decimal integer, 0 if it holds no digits, limited
    // to the 32-bit range.
    virtual int32_t getInt(const std::string& name);
    // Adds the pairs of text; false only if text holds no pair separator.
    virtual bool parse(const std::string& text, const std::string& pairSeparator,
                       const std::string& nameSeparator, bool trim);

private:
    std::map<std::string, std::string, CaseInsensitiveLess> values_;
};

}  // namespace morva
