#include "psa_container.h"

#include <cstdio>

void psa_pattern_name_set(psa_pattern_table_t *table, csa_str_t name)
{
    table->names[table->nr_pattern] = name;
}

int psa_pattern_value_add(psa_pattern_table_t *table, csa_str_t value)
{
    if (table->nr_pattern == PSA_PATTERN_DIM) {
        // The message names another table's limit. Oddity O42.
        std::fputs(REFUSED_PSA_PATTERN, stderr);
        return -1;
    }
    table->values[table->nr_pattern++] = value;
    return 0;
}
