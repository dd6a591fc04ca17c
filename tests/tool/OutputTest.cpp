// The rows the tool prints: padding, trailing blanks, rows of any length and
// the blocks they go out in, byte for byte.
#include "Output.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

using LumKnx::Output;

namespace
{
// What standard output receives from one Output fed by `rows`.
std::string Printed(const std::function<void(Output&)>& rows)
{
    testing::internal::CaptureStdout();
    {
        Output out;
        rows(out);
    }
    return testing::internal::GetCapturedStdout();
}
} // namespace

TEST(LumknxOutput, RowsComeOutByteForByte)
{
    const std::string longText(300000, 'y'); // over any block: the row is not split
    const struct
    {
        const char* name;
        std::function<void(Output&)> rows;
        std::string expected;
    } cases[] = {
        {"padded to the width, then one blank",
         [](Output& o)
         {
             o.Field("ab", 4);
             o.Field("c", 2);
             o.Append("d");
             o.EndLine();
         },
         "ab   c  d\n"},
        {"wider than the width",
         [](Output& o)
         {
             o.Field("abcdef", 3);
             o.Append("x");
             o.EndLine();
         },
         "abcdef x\n"},
        {"characters, not bytes, for UTF-8",
         [](Output& o)
         {
             o.CharacterField("21.5 \xC2\xB0"
                              "C",
                              8);
             o.Field("21.5 \xC2\xB0"
                     "C",
                     8);
             o.Append("|");
             o.EndLine();
         },
         "21.5 \xC2\xB0"
         "C  21.5 \xC2\xB0"
         "C |\n"},
        {"trailing blanks dropped, blanks inside kept",
         [](Output& o)
         {
             o.Field("a", 3);
             o.Field("", 5);
             o.EndLine();
             o.Field("", 4);
             o.EndLine();
             o.Append(" b  ");
             o.EndLine();
         },
         "a\n\n b\n"},
        {"a row longer than the buffer",
         [&](Output& o)
         {
             o.Field("t", 2);
             o.Append(longText);
             o.Field("", 30);
             o.EndLine();
             o.Append("next");
             o.EndLine();
         },
         "t  " + longText + "\nnext\n"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Printed(c.rows), c.expected) << c.name;
}

// Rows go out in blocks as they fill: none is lost, cut or doubled at a block's edge.
TEST(LumknxOutput, ManyRowsKeepTheirOrder)
{
    std::string expected;
    const std::string printed = Printed(
        [&](Output& o)
        {
            for (int i = 0; i < 20000; ++i)
            {
                const std::string number = std::to_string(i);
                o.Field(number, 7);
                o.Field("", 3);
                o.EndLine();
                expected += number + "\n";
            }
        });
    EXPECT_EQ(printed.size(), expected.size());
    EXPECT_TRUE(printed == expected);
}
