/* Says which rule of a loadable pdb a host name fires: hosts LOADABLE NAME. */
#include <pdata.h>

#include <stdio.h>
#include <string.h>

int main(int argc, char **argv)
{
    pdata_db *db;
    pdata_flow *flow;
    pdata_rule_info info;
    if (argc != 3 || pdata_db_open(argv[1], 0, &db, NULL) != PDATA_R_OK)
        return 1;
    if (pdata_flow_new(db, 0, &flow) != PDATA_R_OK)
        return 1;
    pdata_flow_add_bytes(flow, pdata_db_attribute(db, "ssl", "common_name", PDATA_CTS), argv[2],
                         strlen(argv[2]), 0);
    if (pdata_db_rule(db, pdata_flow_best(flow), &info) == PDATA_R_OK)
        for (uint32_t i = 0; i < info.nr_path; ++i) {
            pdata_text name = pdata_db_protocol_name(db, info.path[i]);
            printf("/%.*s", (int)name.size, name.bytes);
        }
    printf("\n");
    pdata_flow_free(flow);
    pdata_db_release(db);
    return 0;
}
