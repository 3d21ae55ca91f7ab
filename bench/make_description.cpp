// Prints a generated description: make_description [protocols [rules [first protocol [seed]]]].
#include <cstdio>
#include <cstdlib>

#include "description_generator.h"

int main(int argc, char **argv)
{
    description_shape_t shape;
    uint32_t *const fields[] = {&shape.protocols, &shape.rules, &shape.first_protocol, &shape.seed};
    for (int i = 1; i < argc && i <= 4; ++i)
        *fields[i - 1] = static_cast<uint32_t>(std::strtoul(argv[i], nullptr, 10));
    if (shape.protocols == 0)
        return 1;
    std::fputs(generate_description(shape).c_str(), stdout);
    return 0;
}
