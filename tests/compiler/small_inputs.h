/// A small description and configuration that use every kind of document, for tests that run the
/// whole program many times.
#pragma once

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "work_folder.h"

/// Rules that allow any object, and nothing in place of one.
inline const char *const ANY_OBJECT = R"({"nodes": [{}, {}], "transitions": [
{"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 1, "trans": "{"},
{"from": 1, "to": 1, "trans": "}"}, {"from": 1, "to": 1, "trans": "["},
{"from": 1, "to": 1, "trans": "]"}, {"from": 1, "to": 1, "trans": ","},
{"from": 1, "to": 1, "trans": "*"}]}
)";

/// The files of the configuration, by name.
inline const std::vector<std::pair<std::string, std::string>> small_configuration = {
    {"tag_table", R"({"tag_table": {"video": 1, "chat": 2}})"},
    {"matcher_alias", R"({"aliases": [
{"alias": {"protocol": "quic", "attr": "server_name", "way": "cts"},
 "reference": {"protocol": "ssl", "attr": "common_name", "way": "both"}}]})"},
    {"http2", R"({"prefix": [{"GET": "GET "}, {"POST": "POST "}]})"},
    {"http", R"({"suffix": [{"ORG": ".org"}], "regular": [{"CURL": "curl"}, {"ORG": "abc"}]})"},
    {"spdy", "{}"},
    {"http_proxy", R"({"regular": []})"},
    {"semantic_matcher_alias", ANY_OBJECT},
    {"semantic_protocol", ANY_OBJECT},
    {"semantic_csm", "{}"},
    {"semantic_tag_table", ANY_OBJECT},
    {"ipbt", R"({"rules": [{"values": [{"type": "protocol", "value": "5"}],
"ips": ["128.0.0.0/2 # half", "10.1.2.3"], "comment": {"any": [1]}}]})"},
};

/// Three protocols with values of every family. Written for few states: a run takes little time.
inline const char *const SMALL_DESCRIPTION = R"({"protocols": [
{"name": "web", "id": 1000, "version": {"major": 1, "minor": 2, "revision": 3},
 "tags": {"category": ["a", "b"], "family": "c", "deprecated": true}, "altname": ["w", "x"],
 "rules": [
  {"order": "1:1", "path": ["tcp", "web"], "scope": ["ssl", "http"], "rule-tags": ["video"],
   "rule": [{"protocol": "http", "cts-server": ["a.b", "(c|d)e"], "stc-location": ".*f.*g"},
            {"protocol": "ssl", "common_name": "h\\.i"}]},
  {"order": "2:0", "preempt": true,
   "rule": [{"protocol": "http", "cts-content": "jk", "mindata": 9}]},
  {"order": "3:4", "rule": [{"protocol": "quic", "cts-server_name": "q"}]}]},
{"name": "net", "id": 1001, "virtual_id": 7, "cacheable": false, "rules": [
  {"order": "4:5", "fastpass": true,
   "rule": [{"protocol": "ip", "address": "10.0.0.0/8", "protoid": "6"},
            {"protocol": "tcp", "mindata": 5,
             "stream_offset": {"offset": 2, "pattern": "l\\x41"}}]}]},
{"name": "http", "rules": [{"rule": [{"protocol": ["tcp", "udp"]}]}]}
]}
)";

/// Writes the configuration into "cfg" and the description into "in.pdd".
inline void put_small_inputs()
{
    std::filesystem::create_directory("cfg");
    for (const auto &[name, text] : small_configuration)
        put_file("cfg/" + name + ".json", text);
    put_file("in.pdd", SMALL_DESCRIPTION);
}
