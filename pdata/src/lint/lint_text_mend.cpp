#include "lint_text_mend.h"

#include <algorithm>

#include "description_text.h"

namespace
{

constexpr std::string_view MARK = "\xef\xbb\xbf";

/// A text on its way through the search.
struct mender_t {
    std::string_view text;
    uint32_t file;
    std::unique_ptr<std::string> &mended;
    finding_t mark;
    finding_t returns;
    finding_t comments;
};

/// Returns the byte behind the comment that begins at `at`, or `at` where none begins. `last`:
/// where the last "*/" of the text stands, lest every "/*" behind it searches the rest in vain.
size_t behind_comment(std::string_view text, size_t at, size_t last)
{
    const std::string_view rest = text.substr(at);
    if (rest.starts_with("//") || rest.starts_with('#'))
        return std::min(text.find_first_of("\r\n", at), text.size());
    if (!rest.starts_with("/*") || last == text.npos || last < at + 2)
        return at;
    return text.find("*/", at + 2) + 2;
}

/// Puts blanks in the place of bytes that are no token, and notes how to take them away.
void pass_over(mender_t &mender, finding_t &finding, size_t begin, size_t end)
{
    const finding_place_t place = {mender.file, static_cast<uint32_t>(begin),
                                   static_cast<uint32_t>(end)};
    if (finding.edits.empty())
        finding.place = place;
    finding.edits.push_back({place, ""});
    if (mender.mended == nullptr)
        mender.mended = std::make_unique<std::string>(mender.text);
    const std::string_view bytes = mender.text.substr(begin, end - begin);
    std::ranges::transform(bytes, mender.mended->begin() + static_cast<ptrdiff_t>(begin),
                           [](char c) { return c == '\n' ? '\n' : ' '; });
}

/// Returns the next byte from `at` on at which something begins that is looked at, or the end.
size_t next_mark(std::string_view text, size_t at)
{
    while (at < text.size() && text[at] != '"' && text[at] != '\r' && text[at] != '/' &&
           text[at] != '#')
        ++at;
    return at;
}

void search(mender_t &mender)
{
    const std::string_view text = mender.text;
    const size_t last = text.rfind("*/");
    for (size_t at = next_mark(text, 0); at < text.size(); at = next_mark(text, at)) {
        const size_t begin = at;
        if (text[at] == '"') {
            at = std::min(text_closing_quote(text, at) + 1, text.size());
        } else if (text[at] == '\r') {
            pass_over(mender, mender.returns, begin, ++at);
        } else {
            at = behind_comment(text, at, last);
            if (at != begin)
                pass_over(mender, mender.comments, begin, at);
            else
                ++at;
        }
    }
}

void put(finding_t &finding, finding_id_t id, const char *message, const char *hint,
         std::vector<finding_t> &findings)
{
    if (finding.edits.empty())
        return;
    finding.id = id;
    finding.message = message;
    finding.hint = hint;
    findings.push_back(std::move(finding));
}

} // namespace

std::string_view lint_mend_text(std::string_view text, uint32_t file,
                                std::unique_ptr<std::string> &mended,
                                std::vector<finding_t> &findings)
{
    mender_t mender = {text, file, mended, {}, {}, {}};
    if (text.starts_with(MARK))
        pass_over(mender, mender.mark, 0, MARK.size());
    search(mender);
    put(mender.mark, FINDING_BYTE_ORDER_MARK, "a byte order mark: the text begins behind it",
        "save the file as UTF-8 without a mark", findings);
    put(mender.returns, FINDING_CARRIAGE_RETURN,
        "a carriage return: lines end in a line feed alone",
        "save the file with the line ends of Unix", findings);
    put(mender.comments, FINDING_COMMENT, "a comment: descriptions have none",
        "take it away; \"description\" of a protocol holds text", findings);
    return mended == nullptr ? text : std::string_view(*mended);
}
