// Any bytes as input: they become a description whose text is bounded, or an error with its place.
#include <cstdint>
#include <cstdlib>

#include "decompile.h"

namespace
{

/// Bytes of text that a byte of a file leads to at most where nothing is repeated; every reference
/// can lead to a string as long as the file.
constexpr size_t TEXT_PER_BYTE = 64;

size_t text_bound(size_t size)
{
    return (size + 64) * (size + TEXT_PER_BYTE);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    pdb_view_t pdb;
    view_error_t error;
    decompiled_t out;
    if (!pdb_view_open({data, size}, pdb, error) || !decompile_pdb(pdb, out, error)) {
        if (error.fault == VIEW_SOUND || error.offset > size || error.text[0] == '\0')
            std::abort(); // a fault says what it is and where
        return 0;
    }
    if (out.text.empty() || out.text.size() > text_bound(size))
        std::abort();
    return 0;
}
