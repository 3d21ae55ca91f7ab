/// Checks pdb files. Of a loadable pdb the reader of the tests says whether it can be read whole
/// and its parts fit together; of every pdb the verifier of the product says whether it is safe,
/// and its dump must cover it.
///
///     loadable_verify [--foreign] FILE...
///
/// prints each file at fault with its error; the exit code is 0 when there is none. "--foreign"
/// allows what descriptions that the compiler did not write may lead to (loadable_reader.h).
#include <cstdio>
#include <fstream>
#include <iterator>

#include "covered.h"
#include "loadable_reader.h"
#include "verified.h"

namespace
{

/// Returns what is wrong with the dump of a file: its ranges cover it once, and show no damage that
/// the compiler's own descriptions cannot lead to.
std::string fault_of_dump(std::span<const uint8_t> bytes, loadable_origin_t origin)
{
    return origin == LOADABLE_FOREIGN ? dump_cover(bytes).fault : dump_fault(bytes);
}

/// Returns what is wrong with a file, empty for nothing.
std::string fault_of(const char *name, loadable_origin_t origin)
{
    std::ifstream file(name, std::ios::binary);
    const std::vector<uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    if (file.bad() || !file.is_open())
        return "cannot be read";
    pdb_view_t view;
    view_error_t error;
    const bool described = pdb_view_open(bytes, view, error) && !view.compiled && !view.empty;
    const std::string fault = described ? "" : loadable_verify(bytes, origin);
    const std::string unsafe =
        fault.empty() ? verify_text(bytes, origin == LOADABLE_FOREIGN) : fault;
    return unsafe.empty() ? fault_of_dump(bytes, origin) : unsafe;
}

} // namespace

int main(int argc, char **argv)
{
    loadable_origin_t origin = LOADABLE_OWN;
    int code = 0;
    for (int i = 1; i < argc; ++i) {
        if (argv[i] == std::string_view("--foreign")) {
            origin = LOADABLE_FOREIGN;
            continue;
        }
        const std::string fault = fault_of(argv[i], origin);
        if (!fault.empty()) {
            std::printf("%s: %s\n", argv[i], fault.c_str());
            code = 1;
        }
    }
    return code;
}
