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
        if (word.size() < 3 || word.compare(0, 2, "--") != 0) {
            positional_.push_back(word);
            continue;
        }
        std::string name = word.substr(2);
        std::optional<std::string> inlineValue;
        if (const size_t eq = name.find('='); eq != std::string::npos) {
            inlineValue = name.substr(eq + 1);
            name.resize(eq);
        }
        const OptionDef* option = findOption(known, name);
        if (option == nullptr) throw UsageError("unknown option --" + name);
        std::string value;
        if (option->takesValue) {
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
        auto& slot = options_[name];
        if (!slot.empty() && !option->repeatable) throw UsageError("option --" + name + " given twice");
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

int64_t parsePositive(std::string_view text, std::string_view what, int64_t limit) {
    int64_t value = 0;
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(text.data(), last, value);
    if (text.empty() || ec != std::errc{} || end != last || value <= 0 || value > limit)
        throw UsageError(std::string(what) + " must be a positive integer up to " + std::to_string(limit) +
                         ", not '" + std::string(text) + "'");
    return value;
}

Size parseSize(std::string_view text) {
    const size_t x = text.find('x');
    if (x == std::string_view::npos) throw UsageError("size must be WIDTHxHEIGHT, not '" + std::string(text) + "'");
    const auto width = parsePositive(text.substr(0, x), "width");
    const auto height = parsePositive(text.substr(x + 1), "height");
    return {static_cast<int32_t>(width), static_cast<int32_t>(height)};
}

double parseSeconds(std::string_view text, std::string_view what) {
    double value = 0;
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(text.data(), last, value);
    if (text.empty() || ec != std::errc{} || end != last || !std::isfinite(value) || value < 0)
        throw UsageError(std::string(what) + " must be a number of seconds, not '" + std::string(text) + "'");
    return value;
}

}  // namespace zelvora
