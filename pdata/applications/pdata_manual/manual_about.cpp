#include <algorithm>
#include <iterator>

#include "manual_pages.h"

namespace
{

struct about_row_t {
    std::string_view command;
    std::string_view text;
};

constexpr about_row_t about_rows[] = {
    {"match", "Takes flows in one line each, and says which rules of a loadable pdb fire, the best "
              "first: what each of their items was found in and where, the value of the "
              "description behind it, the priority, and why it beats the next. A flow is a list of "
              "attributes with the direction and the value that was seen. With - as flow it is a "
              "filter: each line of standard input is answered at once."},
    {"test", "Runs cases, lines of an expected protocol and a flow, like a test suite. A case that "
             "fails shows what was expected, what fired, and the rule that missed it most "
             "narrowly. Text, TAP, JUnit XML and JSON come out; the share of rules that a case "
             "fires is shown on demand, and can be demanded."},
    {"check",
     "Finds every fault of descriptions in one run, at the place where it stands, with "
     "its protocol and rule: what the compiler refuses, what can never fire, what loses a "
     "part of what was described, and what is most likely a slip. Each finding has an id, "
     "a level and a hint. What others have found before can be hidden, and what is safe to "
     "mend is mended on demand. Nothing is written otherwise."},
    {"build", "Checks descriptions, compiles them, verifies what was made, runs the tests given, "
              "and only then puts the outputs in place, whole or not at all: a description that is "
              "refused or a test that fails leaves the old files as they were. Rules for make and "
              "ninja name every file that was read."},
    {"fmt", "Prints descriptions in one canonical layout. The records that they compile to stay "
            "the same."},
    {"import", "Makes a description of lists of domains, hosts, addresses or ports. What the "
               "format cannot say is listed and ends with status 1; nothing is left out in "
               "silence."},
    {"schema",
     "Prints a JSON Schema of a kind of document, made from the rules that the compiler "
     "checks it with, for editors that complete and check while one types. The kinds are "
     "descriptions (pdd), tag tables (tags), matcher aliases (aliases), and the pattern "
     "and address tables of a configuration (psa, ipbt). As JSON it is one object, in which the "
     "schema stands unless it goes to a file."},
    {"list", "Shows what is in a pdb: its parts, its matchers with their engines, and on demand "
             "its protocols, rules and values by name."},
    {"dump", "Shows every byte of a pdb once: where it stands, the field that it belongs to, its "
             "value and what that means. Damage is shown where it is, and the rest goes on. With "
             "--dot it draws an automaton or a tree of a matcher for Graphviz."},
    {"verify", "Says of each pdb nothing and ends with status 0, or names each fault with its "
               "offset, its record and what was expected there."},
    {"flows", "Prints the flows of captures and logs as lines that match and test read. Captures "
              "go through tshark, which must be installed."},
    {"classify", "Says for each flow of captures and logs which protocol and rule it belongs to, "
                 "and what it was recognised by. Captures go through tshark, which must be "
                 "installed."},
    {"decompile",
     "Turns a pdb back into a description. Compiled again with the configuration that "
     "made it, the description gives the same records; where a pdb does not keep "
     "enough for that, the text says so in place. As JSON one object says what was written and "
     "what is lost; the text then goes to a file."},
    {"diff", "Says what two pdbs say differently, by protocol, rule and value. Rules are paired by "
             "what is in them, so that one that has moved is no difference."},
    {"report",
     "Writes one page of HTML about one or two pdbs: what needs action first, then totals, "
     "protocols, rules, values, matchers and limits. The page needs no other file and no "
     "network. Of two pdbs it also says what the second says differently. As JSON "
     "one object says what the page says first."},
};

} // namespace

std::string_view manual_about(std::string_view command)
{
    const auto row = std::ranges::find(about_rows, command, &about_row_t::command);
    return row == std::end(about_rows) ? std::string_view() : row->text;
}
