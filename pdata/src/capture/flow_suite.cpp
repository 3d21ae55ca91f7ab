#include "suite_capture.h"

#include <algorithm>
#include <utility>

#include "csa_cut.h"

namespace
{

bool refuse(suite_error_t &error, size_t line, size_t column, std::string text)
{
    error = {line, column, std::move(text)};
    return false;
}

std::vector<std::string> lines_of(std::string_view text)
{
    std::vector<std::string> lines;
    while (!text.empty())
        lines.emplace_back(csa_cut(text, '\n'));
    return lines;
}

/// Reads the words in front of the tab.
void read_expectation(std::string_view words, suite_case_t &one)
{
    for (size_t at = 0; at < words.size();) {
        const size_t end = std::min(words.find(' ', at), words.size());
        const std::string word(words.substr(at, end - at));
        at = end + 1;
        if (word.starts_with('!'))
            one.excluded.push_back(word.substr(1));
        else if (!word.empty() && word != "-")
            one.expected.push_back(word);
    }
}

constexpr std::string_view capture_word = "capture ";

/// Reads what stands behind the tab. Returns false with an error.
bool read_subject(suite_t &suite, std::string_view words, std::string_view subject,
                  suite_case_t &one, suite_error_t &error)
{
    if (!subject.starts_with(capture_word)) {
        read_expectation(words, one);
        flow_error_t mistake;
        if (!flow_read(subject, one.values, mistake))
            return refuse(error, one.line, words.size() + 1 + mistake.column,
                          std::move(mistake.text));
        return true;
    }
    one.capture = subject.substr(capture_word.size());
    one.capture.resize(one.capture.find_last_not_of(" \r") + 1);
    if (one.capture.empty())
        return refuse(error, one.line, suite.lines[one.line - 1].size() + 1,
                      "a capture is followed by its path");
    const size_t column = suite_capture_words(words, one);
    if (column != 0)
        return refuse(error, one.line, column,
                      "of a capture a word is a protocol, or a protocol, *, a number");
    return true;
}

bool read_case(suite_t &suite, size_t number, std::string &name, suite_error_t &error)
{
    const std::string_view line = suite.lines[number - 1];
    const size_t tab = line.find('\t');
    if (tab == std::string_view::npos)
        return refuse(error, number, line.size() + 1,
                      "a case is what is expected, a tab, and a flow");
    if (line.find_first_not_of(' ') >= tab)
        return refuse(error, number, 1, "what is expected is missing; - stands for nothing");
    suite_case_t one;
    one.name = std::exchange(name, {});
    if (one.name.empty())
        one.name.append(suite.file).append(":").append(std::to_string(number));
    one.line = number;
    if (!read_subject(suite, line.substr(0, tab), line.substr(tab + 1), one, error))
        return false;
    suite.cases.push_back(std::move(one));
    return true;
}

} // namespace

bool suite_read(std::string_view file, std::string_view text, suite_t &suite, suite_error_t &error)
{
    suite = {std::string(file), lines_of(text), {}};
    std::string name;
    for (size_t number = 1; number <= suite.lines.size(); ++number) {
        const std::string &line = suite.lines[number - 1];
        if (line.find_first_not_of(" \r") == std::string::npos || line.starts_with('#'))
            continue;
        if (line.starts_with('[') && line.ends_with(']'))
            name = line.substr(1, line.size() - 2);
        else if (!read_case(suite, number, name, error))
            return false;
    }
    if (!name.empty())
        return refuse(error, suite.lines.size(), 1, "a name is not followed by its case");
    return true;
}

bool suite_case_holds(const suite_case_t &one, const std::vector<std::string> &got)
{
    for (const std::string &protocol : one.excluded)
        if (std::ranges::find(got, protocol) != got.end())
            return false;
    if (one.expected.size() > 1)
        return got == one.expected;
    return one.expected.empty() ? got.empty() : !got.empty() && got.front() == one.expected.front();
}

std::string suite_expectation(const suite_case_t &one)
{
    std::string text;
    for (const std::string &protocol : one.expected)
        text.append(text.empty() ? "" : " ").append(protocol);
    for (const suite_share_t &share : one.shares)
        text.append(text.empty() ? "" : " ").append(suite_share_word(share));
    if (text.empty() && one.capture.empty())
        text.append("-");
    for (const std::string &protocol : one.excluded)
        text.append(text.empty() ? "!" : " !").append(protocol);
    return text;
}

void suite_accept(suite_t &suite, size_t index, const std::vector<std::string> &got)
{
    suite_case_t &one = suite.cases[index];
    const bool all = one.expected.size() > 1;
    one.expected = got;
    if (!all && got.size() > 1)
        one.expected.resize(1);
    std::erase_if(one.excluded, [&got](const std::string &protocol) {
        return std::ranges::find(got, protocol) != got.end();
    });
    suite_write_back(suite, one);
}

void suite_write_back(suite_t &suite, const suite_case_t &one)
{
    std::string &line = suite.lines[one.line - 1];
    line.replace(0, line.find('\t'), suite_expectation(one));
}

std::string suite_text(const suite_t &suite)
{
    std::string text;
    for (const std::string &line : suite.lines)
        text.append(line).append("\n");
    return text;
}
