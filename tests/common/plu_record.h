/// A record that tests copy stored descriptions into.
#pragma once

#include <deque>

#include "plu_fixtures.h"
#include "plu_protobuild.h"

/// A stored description with tables of its own.
struct stored_protocol {
    string_pool pool;
    string_pool tag_pool;
    std::vector<uint8_t> bytes;
    protodesc_t view;
    plu_strings_t strings;

    explicit stored_protocol(const protocol_model &protocol)
    {
        tag_pool.put("video");
        bytes = stored(description_writer::protocol_words(pool, tag_pool, protocol));
        EXPECT_EQ(protodesc_deserialize(&view, bytes), PDATA_SUCCESS);
        strings = {pool.view(), tag_pool.view()};
    }
};

/// A record, the index over its rules, and whatever was copied into it.
struct record_run {
    std::deque<stored_protocol> stored_protocols;
    protodesc_build_t pb;
    plu_rule_index_t known;
    uint32_t nr_rules = 0;

    record_run()
    {
        clear_status_slot();
        protodesc_bounds_t bounds;
        protodesc_populate_bounds(&bounds);
        EXPECT_TRUE(protodesc_init(&pb, bounds, nullptr, nullptr));
        protodesc_reset(&pb);
    }

    const stored_protocol &keep(const protocol_model &protocol)
    {
        return stored_protocols.emplace_back(protocol);
    }

    /// Empties the record for the next protocol.
    void reset()
    {
        protodesc_reset(&pb);
        plu_rule_index_reset(&known);
    }

    /// A first copy.
    std::string copy(const protocol_model &protocol)
    {
        const stored_protocol &from = keep(protocol);
        return outcome(
            plu_merge_proto_to_protobuild(&pb, from.view, from.strings, &nr_rules, nullptr));
    }

    /// An update.
    std::string update(const protocol_model &protocol)
    {
        const stored_protocol &from = keep(protocol);
        return outcome(
            plu_merge_proto_to_protobuild(&pb, from.view, from.strings, &nr_rules, &known));
    }

    /// The rule and sub-rule ids of the slots in use, "1.1 1.2 2.1".
    std::string ids() const
    {
        std::string out;
        for (uint32_t i = 0; i < pb.pb_nr_sub_rule; ++i) {
            out += i == 0 ? "" : " ";
            out += std::to_string(pb.pb_rules[i].rule_id) + ".";
            out += std::to_string(pb.pb_rules[i].rule_sub_id);
        }
        return out;
    }

    static std::string answer(pdata_status_t status, bool found)
    {
        return status != PDATA_SUCCESS ? outcome(status) : std::string(found ? "yes" : "no");
    }

    /// Searches a rule with the index and without; gives "yes", "no", or the outcome. Both must
    /// agree.
    std::string has(const rule_model &rule)
    {
        const stored_protocol &from = keep(make_protocol(1, "incoming", {rule}));
        ruledesc_t view;
        EXPECT_EQ(outcome(protodesc_get_ruledesc(from.view, 0, &view)), "0");
        bool found = false;
        pdata_status_t status =
            plu_find_duplicate_rules(pb, view, from.strings, pb.pb_nr_sub_rule, &known, &found);
        const std::string searched = answer(status, found);
        found = false;
        plu_rule_t read;
        status = plu_rule_read(pb, view, from.strings, &read);
        if (status == PDATA_SUCCESS && read.fits)
            status = plu_walk_duplicate_rules(pb, read, pb.pb_nr_sub_rule, &found);
        const std::string walked = answer(status, found);
        EXPECT_EQ(searched, walked);
        return searched;
    }
};
