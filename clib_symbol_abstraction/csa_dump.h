/// The dump switches that the command line sets and the compile step receives.
#pragma once

#include <cstdint>
#include <string>

struct csa_dump_t {
    uint8_t limit = 0;
    uint8_t tlv = 0;
    uint8_t digraph = 0;
    uint8_t graph_info = 0;
    std::string proto_name; ///< the command line leaves the three texts empty
    std::string attr_name;
    std::string way;
};
