#include "diff_flows.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "csa_cut.h"
#include "escape.h"
#include "line_input.h"

namespace
{

/// Replays the lines of an open file. Returns EXIT_STATUS_FINE when all were read.
exit_status_t replay_lines(console_t &console, const std::string &name, int fd, diff_flows_t &flows)
{
    byte_source_t source = {fd};
    const auto take = [&](std::string_view line, uint64_t number, flow_error_t &error) {
        return flow_replay_line(flows.replay, line, fmt::format("{}:{}", name, number), error);
    };
    const uint64_t bad = line_input_read(console, name, source, take);
    if (source.system_error != 0)
        console_error(console, "{}: {}", name, std::strerror(source.system_error));
    flows.bad_lines += bad;
    return bad == 0 && source.system_error == 0 ? EXIT_STATUS_FINE : EXIT_STATUS_FILE;
}

exit_status_t replay_file(console_t &console, const std::string &path, diff_flows_t &flows)
{
    const std::string name = input_file_name(path);
    if (path == "-")
        return replay_lines(console, name, STDIN_FILENO, flows);
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        console_error(console, "{}: {}", name, std::strerror(errno));
        return EXIT_STATUS_FILE;
    }
    const exit_status_t status = replay_lines(console, name, fd, flows);
    close(fd);
    return status;
}

/// Finds the changes that are accepted, and marks the pairs that accept any.
void mark_allowed(diff_flows_t &flows)
{
    std::multimap<replay_pair_t, allowed_pair_t *> allowed;
    for (allowed_pair_t &one : flows.allowed)
        allowed.emplace(one.pair, &one);
    for (const auto &[pair, change] : flows.replay.changes) {
        for (const replay_pair_t &form : replay_pair_forms(pair)) {
            const auto [begin, end] = allowed.equal_range(form);
            for (auto one = begin; one != end; ++one)
                one->second->occurred = true;
            if (begin != end)
                flows.accepted.insert(pair);
        }
        flows.nr_allowed += flows.accepted.contains(pair) ? change.flows : 0;
    }
}

bool allow_line(console_t &console, std::string_view line, const std::string &place,
                diff_flows_t &flows)
{
    replay_pair_t pair;
    if (!replay_pair_read(line, pair)) {
        console_error(console, "{}: not \"before -> after\"", place);
        return false;
    }
    if (!pair.first.empty())
        flows.allowed.push_back({std::move(pair), place});
    return true;
}

json_document_t change_document(const diff_flows_t &flows, const replay_pair_t &pair,
                                const replay_change_t &change, bool stat)
{
    json_document_t document = {{"before", json_text(pair.first)},
                                {"after", json_text(pair.second)},
                                {"flows", change.flows},
                                {"allowed", flows.accepted.contains(pair)}};
    if (stat)
        return document;
    document["place"] = json_text(change.place);
    if (!change.example.empty())
        document["example"] = json_text(change.example);
    return document;
}

} // namespace

bool diff_flows_allow(console_t &console, const std::string &path, diff_flows_t &flows)
{
    input_file_t file;
    if (!open_file(console, path, file))
        return false;
    std::string_view rest = input_file_text(file);
    bool good = true;
    for (size_t number = 1; !rest.empty(); ++number) {
        const std::string_view line = csa_cut(rest, '\n');
        const std::string place = fmt::format("{}:{}", file.name, number);
        if (!allow_line(console, line, place, flows))
            good = false;
    }
    return good;
}

exit_status_t diff_flows_run(console_t &console, const std::vector<std::string> &paths,
                             diff_flows_t &flows)
{
    exit_status_t status = EXIT_STATUS_FINE;
    for (const std::string &path : paths)
        if (replay_file(console, path, flows) != EXIT_STATUS_FINE)
            status = EXIT_STATUS_FILE;
    mark_allowed(flows);
    if (flows.replay.refused != 0)
        console_error(console, "{} flows with values of another kind than their attribute's",
                      flows.replay.refused);
    if (status == EXIT_STATUS_FINE && flows.replay.changed != flows.nr_allowed)
        status = EXIT_STATUS_FINDINGS;
    return status;
}

void diff_flows_print(console_t &console, const diff_flows_t &flows, bool stat)
{
    const std::string allowed =
        flows.nr_allowed == 0 ? "" : fmt::format(", {} of them allowed", flows.nr_allowed);
    console_print(console, "flows: {}, {} changed{}\n", flows.replay.flows, flows.replay.changed,
                  allowed);
    for (const auto &[pair, change] : flow_replay_changes(flows.replay)) {
        console_print(console, "{} -> {} {}{}\n", escape_terminal(pair->first),
                      escape_terminal(pair->second), change->flows,
                      flows.accepted.contains(*pair) ? " allowed" : "");
        if (!stat)
            console_print(console, "    {}{}{}\n", escape_line(change->place),
                          change->example.empty() ? "" : ": ", escape_line(change->example));
    }
}

json_document_t diff_flows_document(const diff_flows_t &flows, bool stat)
{
    json_document_t document = {
        {"flows", flows.replay.flows},      {"changed", flows.replay.changed},
        {"allowed", flows.nr_allowed},      {"refused", flows.replay.refused},
        {"bad_lines", flows.bad_lines},     {"changes", json_document_t::array()},
        {"stale", json_document_t::array()}};
    for (const auto &[pair, change] : flow_replay_changes(flows.replay))
        document["changes"].push_back(change_document(flows, *pair, *change, stat));
    for (const allowed_pair_t &one : flows.allowed)
        if (!one.occurred)
            document["stale"].push_back(
                {{"before", json_text(one.pair.first)}, {"after", json_text(one.pair.second)}});
    return document;
}

void diff_flows_name_stale(console_t &console, const diff_flows_t &flows)
{
    for (const allowed_pair_t &one : flows.allowed)
        if (!one.occurred)
            console_error(console, "{}: {} -> {} did not occur", one.place, one.pair.first,
                          one.pair.second);
}
