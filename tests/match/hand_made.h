/// Pdbs that are put together by hand, as the library opens and explains them.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "pdata.hpp"
#include "view_sections.h"

inline pdata::database opened(const parts_t &parts, uint32_t flags = 0)
{
    const std::vector<uint8_t> bytes = pdb_of(parts);
    return pdata::database::open_memory(bytes.data(), bytes.size(), PDATA_OPEN_COPY | flags);
}

/// Where the findings of a value of tcp:host begin and end.
inline std::string pieces_of(const parts_t &parts, std::string_view value)
{
    const pdata::database db = opened(parts);
    pdata::flow flow(db, PDATA_FLOW_EXPLAIN);
    flow.add(db.attribute("tcp", "host", PDATA_STC), value);
    std::string text;
    for (size_t i = 0; i < pdata_flow_nr_finding(flow.get()); ++i) {
        pdata_finding finding;
        EXPECT_EQ(pdata_flow_finding_at(flow.get(), i, &finding), PDATA_R_OK);
        EXPECT_EQ(finding.nr_piece, 1u);
        text += std::to_string(finding.item) + " at " + std::to_string(finding.piece[0].begin) +
                "-" + std::to_string(finding.piece[0].end) + "; ";
    }
    return text;
}
