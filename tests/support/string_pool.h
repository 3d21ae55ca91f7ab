/// A pool of strings for descriptions that tests put together by hand.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "hstring.h"

/// Hands out offsets while strings come, and a view of the stored pool when it is asked for one.
struct string_pool {
    hstring_build_t table;
    std::deque<std::string> texts; ///< the pool does not copy
    std::vector<uint8_t> blob;

    string_pool() { (void)hstring_init(&table, 0); } // put fails if this does

    /// Returns the offset of a text, 0xFFFFFFFF for one that is refused.
    uint32_t put(std::string_view text)
    {
        uint32_t offset;
        texts.emplace_back(text);
        return hstring_get_offset(&table, csa_str(texts.back()), &offset) == 0 ? offset
                                                                               : 0xFFFFFFFF;
    }

    /// Returns a view of the pool as it is now; the next call ends its life.
    hstring_t view()
    {
        blob.assign(hstring_get_size(table), 0);
        return hstring_serialize(table, blob) == 0
                   ? hstring_t{blob.data(), static_cast<uint32_t>(blob.size())}
                   : hstring_t{};
    }

    /// Returns the strings of the pool in the order of their offsets.
    std::vector<std::string> strings() const
    {
        std::vector<std::string> out;
        for (const hs_elt &elt : table.hb_tab)
            out.emplace_back(elt.hse_str, elt.hse_len);
        return out;
    }
};
