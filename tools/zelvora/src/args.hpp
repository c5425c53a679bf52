// Command-line parsing: positional arguments and --name value options (also
// --name=value), checked against the options a command knows.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelvora {

struct OptionDef {
    std::string_view name;   // without the leading dashes
    std::string_view value;  // what its value is, as help shows it ("WxH"); empty for a flag
    std::string_view help;   // one sentence for help and the manual page
    bool required = false;
    bool repeatable = false;
    bool many = false;  // takes every following word up to the next option ("--grey a.raw b.raw")

    bool takesValue() const { return !value.empty(); }
};

class Args {
public:
    // Throws UsageError for unknown options (long or short), missing values
    // and repeats. A lone "-" is positional: standard input or output.
    Args(std::span<const std::string> words, std::span<const OptionDef> known);

    const std::vector<std::string>& positional() const { return positional_; }
    bool has(std::string_view name) const;
    std::optional<std::string> value(std::string_view name) const;
    std::string require(std::string_view name) const;  // throws UsageError if absent
    std::vector<std::string> values(std::string_view name) const;

private:
    std::vector<std::string> positional_;
    std::map<std::string, std::vector<std::string>, std::less<>> options_;
};

struct Size {
    int32_t width;
    int32_t height;
};

// "1920x1080": two positive integers that fit a signed 32-bit value.
Size parseSize(std::string_view text);
// A positive integer no larger than `limit`; `what` names it in the error.
int64_t parsePositive(std::string_view text, std::string_view what, int64_t limit = INT32_MAX);
// The same, zero allowed.
int64_t parseCount(std::string_view text, std::string_view what, int64_t limit = INT32_MAX);
// A non-negative decimal number such as 0.25.
double parseSeconds(std::string_view text, std::string_view what);
// A positive decimal number such as 2.2.
double parsePositiveNumber(std::string_view text, std::string_view what);

}  // namespace zelvora
