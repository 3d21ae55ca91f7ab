#include <gtest/gtest.h>

#include "completions.h"
#include "mdoc.h"

TEST(mdoc, bytes_that_mean_something_to_the_language_mean_themselves)
{
    EXPECT_EQ(mdoc_lines("a\\b -c ^d ~e `f"), "a\\eb \\-c \\(had \\(tie \\(gaf\n");
    EXPECT_EQ(mdoc_lines(".Sh no\n'no\n  .no"), "\\&.Sh no\n\\&'no\n\\&.no\n");
}

TEST(mdoc, lines_stay_lines_without_their_indent)
{
    EXPECT_EQ(mdoc_lines(""), "");
    EXPECT_EQ(mdoc_lines("  one\n    two"), "one\ntwo\n");
    EXPECT_EQ(mdoc_lines("one\n   \n\ntwo\n"), "one\n\n\ntwo\n")
        << "blanks alone are an empty line";
}

TEST(mdoc, text_is_filled_and_sentences_begin_lines)
{
    EXPECT_EQ(mdoc_text(""), "");
    EXPECT_EQ(mdoc_text(" \n "), "");
    EXPECT_EQ(mdoc_text(" one  two\nthree "), "one two three\n");
    EXPECT_EQ(mdoc_text("One. Two."), "One.\nTwo.\n");
    EXPECT_EQ(mdoc_text("FILE ... is not . the end"), "FILE \\&... is not \\&.\nthe end\n")
        << "several dots end no sentence";
    EXPECT_EQ(mdoc_text("of .pdb files"), "of \\&.pdb files\n");
}

TEST(mdoc, a_line_has_74_bytes_at_most)
{
    const std::string ten = "123456789 ";
    const std::string seventy = ten + ten + ten + ten + ten + ten + "123456789";
    EXPECT_EQ(mdoc_text(seventy + " 1234"), seventy + " 1234\n");
    EXPECT_EQ(mdoc_text(seventy + " 12345"), seventy + "\n12345\n");
    const std::string long_word(100, 'x');
    EXPECT_EQ(mdoc_text(long_word + " a"), long_word + "\na\n");
}

TEST(mdoc, words_of_a_macro_are_quoted_where_they_must_be)
{
    EXPECT_EQ(mdoc_word("FILE"), "FILE");
    EXPECT_EQ(mdoc_word("Ar"), "\\&Ar") << "the name of a macro";
    EXPECT_EQ(mdoc_word("two words"), "\"two words\"");
    EXPECT_EQ(mdoc_word("say \"no\""), "\"say \\(dqno\\(dq\"");
    EXPECT_EQ(mdoc_word("a-b"), "a\\-b");
}

TEST(completion, a_frame_must_have_the_word)
{
    std::string text = "a @HERE@ b";
    completion_fill(text, "@HERE@", "x");
    EXPECT_EQ(text, "a x b");
    EXPECT_THROW(completion_fill(text, "@HERE@", "x"), std::out_of_range);
}
