#include "lint_text.h"

#include <algorithm>
#include <array>

#include "lint_text_hint.h"
#include "lint_text_mend.h"
#include "text_reader.h"

namespace
{

/// Keys that only a protocol has, one of which stands behind its name.
constexpr std::array<std::string_view, 10> protocol_keys = {
    "\"id\"",         "\"version\"",         "\"tags\"",
    "\"altname\"",    "\"http_reclassify\"", "\"implicit_bottom_layer\"",
    "\"virtual_id\"", "\"cacheable\"",       "\"description\"",
    "\"rules\""};

/// Most syntax faults of one protocol that are told.
constexpr size_t FAULTS_MAX = 8;

/// Most bytes behind the bracket that closes the protocols.
constexpr size_t TAIL_MAX = 3;

/// A file while it is read.
struct lint_reader_t {
    std::string_view text;
    uint32_t file;
    const lint_take_protocol_t &take;
    std::vector<finding_t> &findings;
    description_text_t tokens;
    std::vector<size_t>
        inner;            ///< protocols that begin within one that failed; the last comes first
    size_t failed_at = 0; ///< bytes in front of it were read once, in vain
};

void report(lint_reader_t &reader, finding_id_t id, size_t begin, size_t end, std::string message,
            std::string hint = {})
{
    finding_t finding;
    finding.id = id;
    finding.place = {reader.file, static_cast<uint32_t>(begin), static_cast<uint32_t>(end)};
    finding.message = std::move(message);
    finding.hint = std::move(hint);
    reader.findings.push_back(std::move(finding));
}

void report_syntax(lint_reader_t &reader, size_t at, std::string message, std::string hint = {})
{
    report(reader, FINDING_SYNTAX, at, std::min(at + 1, reader.text.size()), std::move(message),
           std::move(hint));
}

/// Tells whether an object begins with a "name" at byte `at`, its brace. Where the quotes lack or
/// are others, it must stand where a protocol may.
bool is_named_object(std::string_view text, size_t at)
{
    const std::string_view begin = text.substr(text_skip_blanks(text, at + 1));
    const size_t quote = begin.starts_with('"') || begin.starts_with('\'') ? 1 : 0;
    if (!begin.substr(quote).starts_with("name") ||
        !begin.substr(text_skip_blanks(begin, std::min(4 + 2 * quote, begin.size())))
             .starts_with(':'))
        return false;
    const std::string_view before =
        text.substr(0, text.substr(0, at).find_last_not_of(" \t\n") + 1);
    return begin.starts_with('"') || before.find_last_of(",[}") + 1 == before.size();
}

/// Returns the next object from byte `at` on that begins with a "name", or the end.
size_t next_named_object(std::string_view text, size_t at)
{
    for (at = text.find('{', at); at < text.size(); at = text.find('{', at + 1))
        if (is_named_object(text, at))
            return at;
    return text.size();
}

/// Tells whether the tokens from `at` on can only begin a protocol: {"name": "..", one of its keys.
bool is_protocol(const description_text_t &tokens, size_t at)
{
    if (at + 6 > tokens.tokens.size() || tokens.tokens[at].kind != TEXT_OBJECT ||
        text_token_bytes(tokens, at + 1) != "\"name\"" || tokens.tokens[at + 4].kind != TEXT_COMMA)
        return false;
    return std::ranges::find(protocol_keys, text_token_bytes(tokens, at + 5)) !=
           protocol_keys.end();
}

/// Notes the protocols that begin within the one that failed, and returns where reading goes on.
size_t recover(lint_reader_t &reader, size_t fault)
{
    const auto &tokens = reader.tokens.tokens;
    if (fault > reader.failed_at) {
        reader.inner.clear();
        for (size_t at = tokens.size(); at-- > 1;)
            if (is_protocol(reader.tokens, at))
                reader.inner.push_back(tokens[at].begin);
        reader.failed_at = fault;
    }
    return reader.inner.empty() ? next_named_object(reader.text, fault) : reader.inner.back();
}

/// Returns the innermost bracket that the tokens of an object without its end leave open.
const text_token_t &open_bracket(const description_text_t &tokens)
{
    for (size_t at = tokens.tokens.size() - 1;; --at) {
        const text_token_t &token = tokens.tokens[at];
        if (token.kind == TEXT_OBJECT || token.kind == TEXT_ARRAY)
            return token;
        if (token.kind == TEXT_OBJECT_END || token.kind == TEXT_ARRAY_END)
            at = token.mate;
    }
}

/// Reports a protocol that ends where another one begins.
void report_open(lint_reader_t &reader, size_t next)
{
    const text_token_t &open = open_bracket(reader.tokens);
    const char *closing = open.kind == TEXT_OBJECT ? "'}'" : "']'";
    report_syntax(reader, next,
                  std::string("expected ") + closing + ": a protocol begins within another one",
                  std::string("close what was opened with ") + closing);
    reader.findings.back().related = {{reader.file, open.begin, open.end},
                                      std::string("opened here, and not closed")};
}

/// Tells whether a protocol begins within the one that was read.
bool holds_protocol(const description_text_t &tokens)
{
    for (size_t at = 1; at < tokens.tokens.size(); ++at)
        if (is_protocol(tokens, at))
            return true;
    return false;
}

/// Begins to read the object at byte `at` of `text`.
text_reader_t begin_object(description_text_t &tokens, std::string_view text, size_t at,
                           text_fault_t &fault)
{
    tokens.text = text;
    tokens.tokens.clear();
    return {tokens, fault, {}, at};
}

/// Reports the protocol at byte `at`, which another one begins in, and goes on there.
void split_protocol(lint_reader_t &reader, size_t at, size_t next)
{
    text_fault_t fault;
    text_reader_t object = begin_object(reader.tokens, reader.text.substr(0, next), at, fault);
    (void)text_reader_read(object, false);
    report_open(reader, next);
}

/// Reports the fault of a protocol, and what else is wrong with it in front of `next`. What follows
/// from a fault is not told: one that no token is read in front of, or texts that are out of step.
void report_faults(lint_reader_t &reader, text_reader_t &object, size_t next)
{
    const std::vector<text_token_t> &tokens = reader.tokens.tokens;
    reader.tokens.text = reader.text.substr(0, next);
    size_t told = 0; // tokens in front of the last fault that was told
    for (size_t nr = 0; nr == 0 || object.fault.offset != next;) {
        if (tokens.size() != told) {
            const bool in_step = text_reader_in_step(object);
            if (nr == 0 || in_step)
                report_syntax(
                    reader, object.fault.offset, object.fault.text,
                    lint_syntax_hint(reader.text, object.fault.offset, object.fault.text));
            if (++nr == FAULTS_MAX || !in_step)
                return;
            told = tokens.size();
        }
        if (!text_reader_pass(object) || text_reader_read(object, false))
            return;
    }
}

/// Reads the protocol at byte `at`, and gives where to go on: behind it, or at what comes next.
/// Returns whether it was taken.
bool read_protocol(lint_reader_t &reader, size_t at, size_t &next)
{
    while (!reader.inner.empty() && reader.inner.back() <= at)
        reader.inner.pop_back();
    const bool bounded = !reader.inner.empty();
    const size_t end = bounded ? reader.inner.back() : reader.text.size();
    text_fault_t fault;
    text_reader_t object = begin_object(reader.tokens, reader.text.substr(0, end), at, fault);
    const bool read = text_reader_read(object, false);
    if (read && !holds_protocol(reader.tokens)) {
        next = reader.tokens.tokens.back().end;
        reader.take(reader.tokens);
        return true;
    }
    const size_t failed = read ? reader.tokens.tokens.back().end : fault.offset;
    // Tokens in front of the next inner protocol were read once: nothing but the end is missing.
    next = bounded ? end : recover(reader, failed);
    if (!reader.inner.empty())
        split_protocol(reader, at, next);
    else
        report_faults(reader, object, next);
    return false;
}

/// Reads what stands in front of the first protocol; what is wrong with it costs nothing else.
size_t read_frame(lint_reader_t &reader)
{
    const std::string_view text = reader.text;
    size_t at = text_skip_blanks(text, 0);
    const auto fail = [&](const char *message) {
        report_syntax(reader, at, message, "begin with {\"protocols\": [");
        return next_named_object(text, at);
    };
    if (at == text.size() || text[at] != '{')
        return fail("expected '{'");
    at = text_skip_blanks(text, at + 1);
    if (at == text.size() || text[at] != '"')
        return fail("expected a key in quotes");
    at = text_skip_blanks(text, text_closing_quote(text, at) + 1);
    if (at >= text.size() || text[at] != ':')
        return fail("expected ':'");
    at = text_skip_blanks(text, at + 1);
    if (at == text.size() || text[at] != '[')
        return fail("expected '[', an array of protocols");
    return text_skip_blanks(text, at + 1);
}

/// Reads what stands behind the bracket that closes the protocols.
void read_tail(lint_reader_t &reader, size_t at)
{
    if (reader.text.size() - at > TAIL_MAX)
        report(reader, FINDING_TRAILING_TEXT, at + TAIL_MAX, reader.text.size(),
               std::to_string(reader.text.size() - at) +
                   " bytes behind the protocols, where three may stand",
               "end the file with \"]}\", or with ']', a line feed and '}'");
}

/// Reads what stands between two protocols. Returns false at the end.
bool read_separator(lint_reader_t &reader, size_t &at)
{
    at = text_skip_blanks(reader.text, at);
    if (at < reader.text.size() && reader.text[at] == ']') {
        const size_t next = next_named_object(reader.text, at);
        if (next == reader.text.size())
            read_tail(reader, at + 1);
        else
            report_syntax(reader, at, "']' ends the protocols, and another one follows",
                          "write ',' here");
        at = next;
        return next < reader.text.size();
    }
    if (at < reader.text.size() && reader.text[at] == ',') {
        at = text_skip_blanks(reader.text, at + 1);
        if (at == reader.text.size())
            report_syntax(reader, at, "expected a protocol, found the end",
                          "write \"]}\" in place of the last ','");
        return true;
    }
    const size_t next = next_named_object(reader.text, at);
    const bool closes = next < reader.text.size() && reader.text[at] == '}';
    report_syntax(reader, at, "expected ',' or ']'",
                  closes ? "leave the '}' out"
                         : lint_syntax_hint(reader.text, at, "expected ',' or ']'"));
    at = next;
    return at < reader.text.size();
}

void read_protocols(lint_reader_t &reader, size_t at)
{
    while (at < reader.text.size()) {
        if (reader.text[at] != '{') {
            report_syntax(reader, at, "expected a protocol, an object",
                          lint_syntax_hint(reader.text, at, "expected a value"));
            at = next_named_object(reader.text, at);
            continue;
        }
        if (read_protocol(reader, at, at) && !read_separator(reader, at))
            return;
    }
}

} // namespace

void lint_read_text(std::string_view text, uint32_t file, std::unique_ptr<std::string> &mended,
                    const lint_take_protocol_t &take, std::vector<finding_t> &findings)
{
    lint_reader_t reader = {
        lint_mend_text(text, file, mended, findings), file, take, findings, {}, {}, 0};
    const size_t before = findings.size();
    const size_t at = read_frame(reader);
    if (at >= reader.text.size() && findings.size() == before)
        report_syntax(reader, reader.text.size(), "expected a protocol, found the end");
    read_protocols(reader, at);
}
