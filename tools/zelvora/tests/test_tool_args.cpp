// Command-line parsing of the tool: sizes, numbers and options.
#include <gtest/gtest.h>

#include "args.hpp"
#include "error.hpp"

using namespace zelvora;

namespace {

constexpr OptionSpec kKnown[] = {{"format"}, {"deep", false}, {"grey", true, true}};

Args parse(std::vector<std::string> words) { return Args(words, kKnown); }

}  // namespace

TEST(ToolArgs, SizesParse) {
    const Size size = parseSize("1920x1080");
    EXPECT_EQ(size.width, 1920);
    EXPECT_EQ(size.height, 1080);
    EXPECT_EQ(parseSize("2147483647x1").width, INT32_MAX);
}

TEST(ToolArgs, BadSizesAreRefused) {
    for (const char* text : {"1920", "x1080", "1920x", "0x10", "10x0", "-4x4", "4x-4", "10x10x", "2147483648x1",
                             "1e3x10", " 10x10", "10 x10", ""}) {
        EXPECT_THROW(parseSize(text), UsageError) << text;
    }
}

TEST(ToolArgs, PositiveNumbersKeepToTheirLimit) {
    EXPECT_EQ(parsePositive("7", "frames", 7), 7);
    EXPECT_THROW(parsePositive("8", "frames", 7), UsageError);
    EXPECT_THROW(parsePositive("0", "stride"), UsageError);
    EXPECT_THROW(parsePositive("12a", "stride"), UsageError);
    EXPECT_DOUBLE_EQ(parseSeconds("0.25", "t"), 0.25);
    EXPECT_THROW(parseSeconds("-1", "t"), UsageError);
    EXPECT_THROW(parseSeconds("inf", "t"), UsageError);
}

TEST(ToolArgs, OptionsPositionalsAndFlags) {
    const Args args = parse({"in.raw", "--format", "BayerRG8", "out.png", "--deep", "--grey=a.raw", "--grey", "b.raw"});
    EXPECT_EQ(args.positional(), (std::vector<std::string>{"in.raw", "out.png"}));
    EXPECT_EQ(args.require("format"), "BayerRG8");
    EXPECT_TRUE(args.has("deep"));
    EXPECT_EQ(args.values("grey"), (std::vector<std::string>{"a.raw", "b.raw"}));
    EXPECT_FALSE(args.value("missing").has_value());
    EXPECT_THROW(args.require("missing"), UsageError);
}

TEST(ToolArgs, MalformedOptionsAreRefused) {
    const std::vector<std::vector<std::string>> cases = {
        {"--size", "4x4"},                       // not known to this command
        {"--format"},                            // value missing
        {"--format", "a", "--format", "b"},      // repeated
        {"--deep=yes"},                          // a flag with a value
    };
    for (const auto& words : cases) EXPECT_THROW(parse(words), UsageError) << words[0];
}
