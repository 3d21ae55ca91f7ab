#include "rexpand.h"

#include "rexpand_expander.h"
#include "rexpand_parser.h"

int rexpand_process(std::string_view expression, uint32_t permutation_limit, uint32_t *nb,
                    rexpand_permutation_list *list, uint64_t max_bytes)
{
    if (list == nullptr)
        return MODULE_ERR_INVALID;
    rexpand_permutation_list_destroy(list);
    if (nb != nullptr)
        *nb = 0;
    rexpand_tree tree;
    const int error = rexpand_parse(expression, &tree);
    if (error != MODULE_SUCCESS)
        return error;
    return rexpand_expander_visit(tree, permutation_limit, nb, list, max_bytes);
}

void rexpand_permutation_list_destroy(rexpand_permutation_list *list)
{
    rexpand_permutation_list().swap(*list);
}
