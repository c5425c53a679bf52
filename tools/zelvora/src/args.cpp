#include "args.hpp"

#include <charconv>
#include <cmath>

#include "error.hpp"

namespace zelvora {
namespace {

const OptionDef* findOption(std::span<const OptionDef> known, std::string_view name) {
    for (const auto& option : known) {
        if (option.name == name) return &option;
    }
    return nullptr;
}

}  // namespace

Args::Args(std::span<const std::string> words, std::span<const OptionDef> known) {
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (word.size() < 2 || word[0] != '-') {
            positional_.push_back(word);
            continue;
        }
        if (word[1] != '-' || word.size() == 2) throw UsageError("unknown option " + word);
        std::string name = word.substr(2);
        std::optional<std::string> inlineValue;
        if (const size_t eq = name.find('='); eq != std::string::npos) {
            inlineValue = name.substr(eq + 1);
            name.resize(eq);
        }
        const OptionDef* option = findOption(known, name);
        if (option == nullptr) throw UsageError("unknown option --" + name);
        std::string value;
        auto& slot = options_[name];
        const bool twice = !slot.empty() && !option->repeatable;
        if (option->many && !inlineValue) {
            // Every word up to the next option is a value; "-" counts as one.
            const size_t first = slot.size();
            while (i + 1 < words.size() && (words[i + 1].size() < 2 || words[i + 1][0] != '-'))
                slot.push_back(words[++i]);
            if (slot.size() == first) throw UsageError("option --" + name + " needs a value");
            continue;
        }
        if (option->takesValue()) {
            if (inlineValue) {
                value = *inlineValue;
            } else if (i + 1 < words.size()) {
                value = words[++i];
            } else {
                throw UsageError("option --" + name + " needs a value");
            }
        } else if (inlineValue) {
            throw UsageError("option --" + name + " takes no value");
        }
        if (twice) throw UsageError("option --" + name + " given twice");
        slot.push_back(std::move(value));
    }
}

bool Args::has(std::string_view name) const { return options_.find(name) != options_.end(); }

std::optional<std::string> Args::value(std::string_view name) const {
    const auto it = options_.find(name);
    if (it == options_.end()) return std::nullopt;
    return it->second.front();
}

std::string Args::require(std::string_view name) const {
    if (auto v = value(name)) return *v;
    throw UsageError("option --" + std::string(name) + " is required");
}

std::vector<std::string> Args::values(std::string_view name) const {
    const auto it = options_.find(name);
    return it == options_.end() ? std::vector<std::string>{} : it->second;
}

namespace {

int64_t parseInteger(std::string_view text, std::string_view what, int64_t least, int64_t limit) {
    int64_t value = 0;
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(text.data(), last, value);
    if (text.empty() || ec != std::errc{} || end != last || value < least || value > limit)
        throw UsageError(std::string(what) + " must be a " + (least > 0 ? "positive" : "non-negative") +
                         " integer up to " + std::to_string(limit) + ", not '" + std::string(text) + "'");
    return value;
}

}  // namespace

int64_t parsePositive(std::string_view text, std::string_view what, int64_t limit) {
    return parseInteger(text, what, 1, limit);
}

int64_t parseCount(std::string_view text, std::string_view what, int64_t limit) {
    return parseInteger(text, what, 0, limit);
}

Size parseSize(std::string_view text) {
    const size_t x = text.find('x');
    if (x == std::string_view::npos) throw UsageError("size must be WIDTHxHEIGHT, not '" + std::string(text) + "'");
    const auto width = parsePositive(text.substr(0, x), "width");
    const auto height = parsePositive(text.substr(x + 1), "height");
    return {static_cast<int32_t>(width), static_cast<int32_t>(height)};
}

namespace {

std::optional<double> parseNumber(std::string_view text) {
    double value = 0;
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(text.data(), last, value);
    if (text.empty() || ec != std::errc{} || end != last || !std::isfinite(value)) return std::nullopt;
    return value;
}

}  // namespace

double parseSeconds(std::string_view text, std::string_view what) {
    const auto value = parseNumber(text);
    if (!value || *value < 0)
        throw UsageError(std::string(what) + " must be a number of seconds, not '" + std::string(text) + "'");
    return *value;
}

double parsePositiveNumber(std::string_view text, std::string_view what) {
    const auto value = parseNumber(text);
    if (!value || *value <= 0)
        throw UsageError(std::string(what) + " must be a positive number, not '" + std::string(text) + "'");
    return *value;
}

}  // namespace zelvora
