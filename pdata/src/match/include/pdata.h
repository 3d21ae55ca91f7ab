/*
 * libpdata: run what pdata_compiler compiled. Attribute values of a flow go in, rules come out.
 *
 *     pdata_db *db;
 *     pdata_flow *flow;
 *     if (pdata_db_open("rules.pdb", 0, &db, NULL) != PDATA_R_OK)
 *         ...
 *     pdata_attribute name = pdata_db_attribute(db, "ssl", "common_name", PDATA_CTS);
 *     if (pdata_flow_new(db, 0, &flow) != PDATA_R_OK)
 *         ...
 *     pdata_flow_add_bytes(flow, name, "www.example.org", 15, 0);
 *     pdata_rule rule = pdata_flow_best(flow);
 *     ...
 *     pdata_flow_reset(flow);                                 the next flow
 *
 * What a loadable pdb is, is told in docs/pdb.md; a complete program stands in docs/library.md.
 *
 * Threads. A database is read-only: any number of threads may use one at the same time, and hold
 * and release it. A flow belongs to one thread at a time. A source may be used by any thread.
 *
 * Memory. A database keeps the bytes of the pdb where they lie (mapped, or the caller's) and small
 * indexes beside them. A flow allocates when it is made, and when pdata_flow_renew finds another
 * database; never otherwise. The library prints nothing, keeps no state of its own, calls exit or
 * abort never, and lets no C++ exception out.
 *
 * Texts and tables that are given out point into the database and live as long as it does.
 *
 * How values are read
 *
 *  - A value is handed over under the attribute that it was seen as: the server name of a QUIC
 *    flow is quic:server_name, whatever the aliases of the pdb say. The aliases are followed by
 *    the lookup of the attribute.
 *  - An item is one value of a rule. It counts when the data is what the value describes, and when
 *    its rule admits the protocol that the data was handed over for: that protocol is a real
 *    bottom of the rule (the protocol that its author wrote), or the rule's scope names it, or the
 *    scope is "all". So a name seen in QUIC and the same name seen in TLS lead to different rules.
 *  - A rule matches when all its items count, in whatever data of the flow they were found. Once
 *    pdata_flow_add_protocol has said of a flow which protocols it has, a bottom protocol of which
 *    the rule tests nothing must be one of them, or one that a value was handed over for; of a
 *    flow of which nothing is said, such a bottom asks nothing.
 *  - A value of several pieces is found when every piece of one of its permutations stands in the
 *    data, each ending behind the end of the one before it. A value that its pieces do not prove is
 *    matched as an expression against the whole data.
 *  - The smallest priority word is the best: range first, then order; of equal ones the smaller
 *    rule. An order that an author left out becomes the smaller, the more a rule asks for.
 *
 * Data that is not complete (PDATA_MORE)
 *
 *  - Each call hands over all data of the value so far, from its beginning. Nothing is kept of it:
 *    the library remembers what was found, not where the data ended.
 *  - The end of the data does not count: no value that ends with the data, or equals it, is found,
 *    and a second check only if its expression ends with ".*" or ".+".
 *  - Minimum data is respected: nothing counts before there is as much data as the matcher asks
 *    for (the greatest minimum of its values), but values of preempt rules that have their own.
 *    Complete data is matched whatever its length, but for those values.
 */
#ifndef PDATA_H
#define PDATA_H

#include <stddef.h>
#include <stdint.h>

#if defined(__GNUC__)
#define PDATA_API __attribute__((visibility("default")))
#else
#define PDATA_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Results -------------------------------------------------------------------------------- */

/* What an operation returns. Numbers never change. */
typedef enum pdata_result {
    PDATA_R_OK = 0,
    PDATA_R_ARGUMENT = 1,     /* a null pointer, a handle of no database, a size beyond 32 bits */
    PDATA_R_MEMORY = 2,       /* memory ran out; nothing has changed */
    PDATA_R_FILE = 3,         /* the file cannot be opened, read or mapped */
    PDATA_R_DAMAGED = 4,      /* no pdb, or it does not fit together; the failure says where */
    PDATA_R_NOT_LOADABLE = 5, /* a pdb that was not compiled into a loadable one */
    PDATA_R_UNKNOWN = 6,      /* there is no such thing */
    PDATA_R_KIND = 7          /* a value of another kind than those that the attribute has */
} pdata_result;

/* What went wrong, in words. */
typedef struct pdata_failure {
    pdata_result result;
    int system;      /* errno of PDATA_R_FILE, else 0 */
    uint64_t offset; /* PDATA_R_DAMAGED: the byte of the file */
    char text[224];  /* one line, without a line end */
} pdata_failure;

/* Returns the words for a pdata_result, as in "out of memory", and "unknown result" for any other
   number; never null. */
PDATA_API const char *pdata_result_text(int result);

/* Returns the version of the library, as in "1.0"; never null. */
PDATA_API const char *pdata_version(void);

/* Bytes of a database: not terminated, any bytes. Null when there are none. */
typedef struct pdata_text {
    const char *bytes;
    size_t size;
} pdata_text;

/* ---- Databases ------------------------------------------------------------------------------ */

typedef struct pdata_db pdata_db;

/* Flags of the two opening operations. */
enum {
    PDATA_OPEN_TRUSTED = 1, /* the caller vouches for the bytes: they are not verified. A damaged
                               pdb then leads to undefined behaviour. */
    PDATA_OPEN_COPY = 2     /* memory: the bytes are copied. file: read, not mapped. */
};

/*
 * Opens the loadable pdb in the file `path`, verifies it, and gives a database that the caller
 * holds. The file is mapped: whoever replaces it must write another file and rename it, never
 * write into it. `failure` may be null.
 *
 * PDATA_R_ARGUMENT, PDATA_R_MEMORY, PDATA_R_FILE, PDATA_R_DAMAGED, PDATA_R_NOT_LOADABLE; `*db` is
 * then null. A pdb without descriptions is loadable, and has no rules.
 */
PDATA_API pdata_result pdata_db_open(const char *path, uint32_t flags, pdata_db **db,
                                     pdata_failure *failure);

/*
 * The same for `size` bytes in memory, which must stay as they are until the database is freed,
 * unless PDATA_OPEN_COPY is given. Any alignment will do.
 */
PDATA_API pdata_result pdata_db_open_memory(const void *bytes, size_t size, uint32_t flags,
                                            pdata_db **db, pdata_failure *failure);

/* Holds a database once more, and returns it. */
PDATA_API pdata_db *pdata_db_hold(pdata_db *db);

/* Gives up one hold; with the last one the database is freed. Flows and sources hold theirs. Null
 * is let be. */
PDATA_API void pdata_db_release(pdata_db *db);

/* Directions. */
typedef enum pdata_direction {
    PDATA_CTS = 1, /* client to server */
    PDATA_STC = 2  /* server to client */
} pdata_direction;

/* Kinds of value. */
typedef enum pdata_kind {
    PDATA_BYTES = 1,
    PDATA_NUMBER = 2,
    PDATA_IPV4 = 3,
    PDATA_IPV6 = 4
} pdata_kind;

/* Numbers of attributes, protocols, rules, items and matchers of one database, from 1 upward; 0 is
 * none. A number means nothing in another database. */
typedef uint32_t pdata_attribute;
typedef uint32_t pdata_protocol;
typedef uint32_t pdata_rule;
typedef uint32_t pdata_item;
typedef uint32_t pdata_matcher;

/*
 * Looks an attribute up, through the aliases of the pdb. Returns 0 when no rule tests it: values
 * of attribute 0 are taken and lead to nothing. Logarithmic time; made to be done once.
 */
PDATA_API pdata_attribute pdata_db_attribute(const pdata_db *db, const char *protocol,
                                             const char *attribute, pdata_direction direction);

/* Looks a protocol up; 0 when no rule names it. */
PDATA_API pdata_protocol pdata_db_protocol(const pdata_db *db, const char *name);

/* ---- Flows ---------------------------------------------------------------------------------- */

typedef struct pdata_flow pdata_flow;

/* Flags of a flow. */
enum {
    PDATA_FLOW_EXPLAIN = 1 /* findings are kept: pdata_flow_finding_at, pdata_flow_near. The first
                              such flow of a database goes over all its automata, for which the
                              database then keeps 4 bytes for each of their states. */
};

/* Flags of a value. */
enum {
    PDATA_MORE = 1 /* more data of the value may follow; bytes only */
};

/*
 * Makes a flow of a database, and holds that. Its size is that of the database's tables of items
 * and rules: about 5 bytes for an item, 22 for a rule and 4 for a protocol. PDATA_R_ARGUMENT,
 * PDATA_R_MEMORY.
 */
PDATA_API pdata_result pdata_flow_new(pdata_db *db, uint32_t flags, pdata_flow **flow);

/* Frees a flow and gives up its hold on the database. Null is let be. */
PDATA_API void pdata_flow_free(pdata_flow *flow);

/* Forgets all values. The time is that of what was found. */
PDATA_API void pdata_flow_reset(pdata_flow *flow);

/* Returns the database of a flow; not a further hold. */
PDATA_API pdata_db *pdata_flow_db(const pdata_flow *flow);

/*
 * Adds `size` bytes of data. A value may be added again with more data, and an attribute may have
 * several values: what was found stays found. Linear time in `size`.
 *
 * PDATA_R_ARGUMENT for an attribute that the database does not have (but 0), for null data of a
 * size, and for 4 GiB or more; PDATA_R_KIND for an attribute that does not hold bytes.
 */
PDATA_API pdata_result pdata_flow_add_bytes(pdata_flow *flow, pdata_attribute attribute,
                                            const void *data, size_t size, uint32_t flags);

/* Adds a number; one that the attribute's width does not hold leads to nothing. PDATA_R_ARGUMENT,
 * PDATA_R_KIND. */
PDATA_API pdata_result pdata_flow_add_number(pdata_flow *flow, pdata_attribute attribute,
                                             uint64_t number);

/* Adds an IPv4 address, most significant byte first. PDATA_R_ARGUMENT, PDATA_R_KIND. */
PDATA_API pdata_result pdata_flow_add_ipv4(pdata_flow *flow, pdata_attribute attribute,
                                           const uint8_t address[4]);

/* Adds an IPv6 address, most significant byte first. PDATA_R_ARGUMENT, PDATA_R_KIND. */
PDATA_API pdata_result pdata_flow_add_ipv6(pdata_flow *flow, pdata_attribute attribute,
                                           const uint8_t address[16]);

/*
 * Says that the flow has a protocol. Who says it of one protocol says it of all that the flow has,
 * but for those that values are handed over for. 0 stands for one that no rule names: it says that
 * all protocols are known. PDATA_R_ARGUMENT.
 */
PDATA_API pdata_result pdata_flow_add_protocol(pdata_flow *flow, pdata_protocol protocol);

/*
 * Returns the best rule that matches so far, 0 for none. What rules the items come to is worked out
 * here and in the operations below, of the items that were found since it was last asked for.
 */
PDATA_API pdata_rule pdata_flow_best(const pdata_flow *flow);

/*
 * Gives the rules that match so far, the best first, as far as `capacity` goes. Returns how many
 * there are. `rules` may be null when `capacity` is 0.
 */
PDATA_API size_t pdata_flow_rules(pdata_flow *flow, pdata_rule *rules, size_t capacity);

/* The same for the items that count so far, in the order in which they were found. */
PDATA_API size_t pdata_flow_items(const pdata_flow *flow, pdata_item *items, size_t capacity);

/* ---- What a rule says ----------------------------------------------------------------------- */

/* Cells of a rule. */
enum { PDATA_PATH_MAX = 4, PDATA_BOTTOM_MAX = 2 };

/* Flags of a rule. */
enum {
    PDATA_RULE_FASTPASS = 1,
    PDATA_RULE_PREEMPT = 2, /* its author called it a signature that settles the matter by itself */
    PDATA_RULE_REFERER = 4  /* one of several items is a referer */
};

/* Scopes: bits of pdata_rule_info.scope. */
enum {
    PDATA_SCOPE_ALL = 0x1,
    PDATA_SCOPE_HTTP = 0x2,
    PDATA_SCOPE_SSL = 0x4,
    PDATA_SCOPE_STUN = 0x8,
    PDATA_SCOPE_IP = 0x10,
    PDATA_SCOPE_DNS = 0x20,
    PDATA_SCOPE_SIP = 0x40,
    PDATA_SCOPE_RTSP = 0x80,
    PDATA_SCOPE_FACEBOOK = 0x100,
    PDATA_SCOPE_QUIC = 0x200,
    PDATA_SCOPE_HTTP2 = 0x400,
    PDATA_SCOPE_HTTP_PROXY = 0x800,
    PDATA_SCOPE_SPDY = 0x1000
};

typedef struct pdata_rule_info {
    pdata_protocol path[PDATA_PATH_MAX];          /* the protocol that is classified comes last */
    pdata_protocol bottom[PDATA_BOTTOM_MAX];      /* whose attributes it tests, behind aliases */
    pdata_protocol real_bottom[PDATA_BOTTOM_MAX]; /* as its author wrote them */
    uint32_t nr_path;
    uint32_t nr_bottom; /* also of the real ones */
    uint32_t nr_item;
    uint32_t nr_tag;
    uint32_t priority;   /* the word: range in bits 31 to 24, order below; the smallest is best */
    uint32_t scope;      /* PDATA_SCOPE bits */
    uint32_t flags;      /* PDATA_RULE flags */
    uint32_t parameters; /* 0 to 7, for the engine */
    uint32_t vid;        /* version identifier, 0xFFFFFFFF for none */
} pdata_rule_info;

/* Tells what a rule says. PDATA_R_ARGUMENT, PDATA_R_UNKNOWN. */
PDATA_API pdata_result pdata_db_rule(const pdata_db *db, pdata_rule rule, pdata_rule_info *info);

/* Gives the number of tag `index` of a rule, below its nr_tag, and its name, empty where the tag
 * table lacks it. PDATA_R_ARGUMENT, PDATA_R_UNKNOWN. */
PDATA_API pdata_result pdata_db_rule_tag(const pdata_db *db, pdata_rule rule, uint32_t index,
                                         uint32_t *number, pdata_text *name);

/* Why one rule is better than another. */
typedef enum pdata_precedence {
    PDATA_BY_RANGE = 1,
    PDATA_BY_ORDER = 2,
    PDATA_BY_NUMBER = 3 /* equal priority words: the smaller rule number */
} pdata_precedence;

/* Tells by what `better` goes before `worse`. PDATA_R_ARGUMENT; PDATA_R_UNKNOWN for a rule that is
 * not there, and when `better` does not go before `worse`. */
PDATA_API pdata_result pdata_db_precedence(const pdata_db *db, pdata_rule better, pdata_rule worse,
                                           pdata_precedence *precedence);

/* ---- What is in a database ------------------------------------------------------------------ */

typedef struct pdata_db_info {
    uint64_t file_bytes;
    uint64_t index_bytes; /* what the database keeps beside the file, second checks aside */
    uint64_t check_bytes; /* compiled second checks */
    uint32_t nr_attribute;
    uint32_t nr_protocol;
    uint32_t nr_rule;
    uint32_t nr_item; /* the greatest item number; some may belong to no rule */
    uint32_t nr_matcher;
    uint32_t nr_check;         /* values with a second check */
    uint32_t nr_check_refused; /* of these, no expression or nested too deeply: never found */
    uint32_t version_major;    /* of the format */
    uint32_t version_minor;
    pdata_text version_text;
} pdata_db_info;

/* Tells what a database holds. */
PDATA_API void pdata_db_describe(const pdata_db *db, pdata_db_info *info);

typedef struct pdata_attribute_info {
    pdata_text protocol;
    pdata_text name;
    pdata_direction direction;
    pdata_kind kind;
    pdata_protocol number;    /* of the protocol; 0 when no rule names it */
    uint32_t nr_matcher;      /* matchers that its values are run through */
    pdata_matcher matcher[4]; /* the first of these */
} pdata_attribute_info;

/* Tells about attribute 1 to nr_attribute. PDATA_R_ARGUMENT, PDATA_R_UNKNOWN. */
PDATA_API pdata_result pdata_db_attribute_info(const pdata_db *db, pdata_attribute attribute,
                                               pdata_attribute_info *info);

/* Returns the name of protocol 1 to nr_protocol; empty for any other. */
PDATA_API pdata_text pdata_db_protocol_name(const pdata_db *db, pdata_protocol protocol);

typedef struct pdata_matcher_info {
    pdata_text protocol; /* of the attribute behind aliases */
    pdata_text name;
    pdata_direction direction;
    pdata_kind kind;
    uint32_t width;        /* bits of a number or address, 0 for bytes */
    uint32_t min_data;     /* bytes */
    uint32_t nr_entry;     /* second-level entries */
    uint32_t nr_check;     /* second checks */
    uint32_t ignores_case; /* 1 or 0 */
} pdata_matcher_info;

/* Tells about matcher 1 to nr_matcher, in the order of the file. PDATA_R_ARGUMENT,
 * PDATA_R_UNKNOWN. */
PDATA_API pdata_result pdata_db_matcher(const pdata_db *db, pdata_matcher matcher,
                                        pdata_matcher_info *info);

typedef struct pdata_item_info {
    pdata_rule rule;       /* 0 for an item that no rule owns */
    uint32_t bit;          /* of the item in its rule, from 0 */
    pdata_matcher matcher; /* the first that has it, 0 for none */
} pdata_item_info;

/* Tells about item 1 to nr_item. The first call for a database goes over all its matchers.
 * PDATA_R_ARGUMENT, PDATA_R_UNKNOWN, PDATA_R_MEMORY. */
PDATA_API pdata_result pdata_db_item(pdata_db *db, pdata_item item, pdata_item_info *info);

/* ---- Explanations --------------------------------------------------------------------------- */

/* What became of a finding. */
typedef enum pdata_outcome {
    PDATA_COUNTED = 1,
    PDATA_NOT_ADMITTED = 2, /* the rule does not admit the protocol of the value */
    PDATA_CHECK_FAILED = 3, /* the pieces are there, the value as a whole does not match */
    PDATA_CHECK_WAITS = 4   /* the same, and more data may follow */
} pdata_outcome;

/* Pieces that a finding tells of; there may be more. */
enum { PDATA_PIECE_MAX = 8 };

/* Where a piece stood in the data. Of several texts of one value that end together (".*(b|ab).*")
 * it is the shortest. */
typedef struct pdata_piece {
    uint32_t begin;
    uint32_t end; /* behind the last byte */
} pdata_piece;

/* A value of the description that was found in a value of the flow. */
typedef struct pdata_finding {
    pdata_item item;
    pdata_rule rule;
    pdata_attribute attribute;
    pdata_outcome outcome;
    uint32_t value; /* number of the value in the flow, from 1: the calls of pdata_flow_add_... */
    uint32_t nr_piece; /* 0 for numbers, addresses and values without a piece */
    pdata_piece piece[PDATA_PIECE_MAX];
    pdata_text expression; /* the value as a whole, where the second level holds it */
} pdata_finding;

/*
 * Returns how many findings a flow made with PDATA_FLOW_EXPLAIN has. A flow keeps room for as many
 * as its database has items, and for 1,024 more; further ones are not kept.
 */
PDATA_API size_t pdata_flow_nr_finding(const pdata_flow *flow);

/* Gives finding `index`, from 0, in the order in which they were made. PDATA_R_ARGUMENT,
 * PDATA_R_UNKNOWN. */
PDATA_API pdata_result pdata_flow_finding_at(const pdata_flow *flow, size_t index,
                                             pdata_finding *finding);

/* A rule that does not match, for want of one thing. */
typedef struct pdata_near {
    pdata_rule rule;
    pdata_item item;         /* the item that is missing, or 0: */
    pdata_protocol protocol; /* the protocol that the flow does not have */
} pdata_near;

/*
 * Gives the rules that miss one item, or one protocol, the best first, as far as `capacity` goes.
 * Returns how many there are. Any flow can be asked. For each rule that is given, the items of the
 * pdb behind its first one are searched for the missing one.
 */
PDATA_API size_t pdata_flow_near(pdata_flow *flow, pdata_near *near, size_t capacity);

/* ---- Replacing a database ------------------------------------------------------------------- */

/* The database that is in force, for flows that come and go. */
typedef struct pdata_source pdata_source;

/* Makes a source of a database, and holds that. PDATA_R_ARGUMENT, PDATA_R_MEMORY. */
PDATA_API pdata_result pdata_source_new(pdata_db *db, pdata_source **source);

/* Gives up the source's hold and frees it. No thread may use it any more. Null is let be. */
PDATA_API void pdata_source_free(pdata_source *source);

/* Puts another database in force, from any thread. Flows that run finish on theirs, which is freed
 * when the last of them has moved on. */
PDATA_API pdata_result pdata_source_replace(pdata_source *source, pdata_db *db);

/* Returns the database in force, held for the caller. */
PDATA_API pdata_db *pdata_source_db(pdata_source *source);

/*
 * Resets a flow and, if another database is in force by now, makes it a flow of that one. `*moved`
 * is 1 then, else 0; attributes, protocols and rules of the old database are to be looked up anew.
 * Costs one atomic load while nothing was replaced. `moved` may be null.
 *
 * PDATA_R_ARGUMENT; PDATA_R_MEMORY: the flow is reset and stays with its database.
 */
PDATA_API pdata_result pdata_flow_renew(pdata_flow *flow, pdata_source *source, int *moved);

#ifdef __cplusplus
}
#endif

#endif
