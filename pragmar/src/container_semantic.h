/// The rule machine that says which shape a JSON document may have.
///
/// A rule file describes numbered nodes, transitions between them labelled by JSON events, and
/// counting rules. The machine holds them as they are read and answers, event by event, where a
/// document may go next. A generic schema language was turned down: the rule files are data of
/// the product, and their vocabulary is the format.
///
/// Labels point into the parsed tree of the rule file, which must outlive the machine.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

constexpr uint32_t SEMANTIC_NODE_DIM = 128;
constexpr uint32_t SEMANTIC_NODE_TRANS_DIM = 64;
constexpr uint32_t SEMANTIC_NODE_RESET_DIM = 32;
constexpr uint32_t SEMANTIC_NODE_CHECK_DIM = 32;
constexpr uint32_t SEMANTIC_HISTORY_DIM = 16;

enum node_category_t : uint32_t {
    NODE_CATEGORY_NORMAL,
    NODE_CATEGORY_START,
    NODE_CATEGORY_END,
};

/// The kinds of event.
enum trans_type_t : uint32_t {
    TRANS_OBJECT_START,
    TRANS_OBJECT_END,
    TRANS_ARRAY_START,
    TRANS_ARRAY_END,
    TRANS_COMMA,
    TRANS_X, ///< wildcard: any string, number or literal
    TRANS_STRING,
    TRANS_NUMBER,
    TRANS_ATOM,
};

/// A transition.
struct semantic_trans_t {
    std::string_view trans; ///< the label
    uint32_t to = 0;        ///< number of the target node
    trans_type_t type = TRANS_OBJECT_START;
};

/// A node, addressed by its position among the nodes (oddity O73). Its count stands apart.
struct semantic_node_t {
    uint32_t key = 0; ///< its number as written, used in messages
    node_category_t category = NODE_CATEGORY_NORMAL;
    std::optional<uint32_t> min; ///< allowed range of its count
    std::optional<uint32_t> max;
    std::vector<uint32_t> reset;         ///< nodes whose counts it clears
    std::vector<uint32_t> check;         ///< nodes whose counts it checks
    uint32_t nr_trans = 0;               ///< transitions that are complete
    std::vector<semantic_trans_t> trans; ///< in file order; at most one more is being read
};

/// The machine.
struct semantic_t {
    std::array<semantic_node_t, SEMANTIC_NODE_DIM> nodes;
    std::array<uint32_t, SEMANTIC_NODE_DIM> count{}; ///< entries of each node since its last reset
    uint32_t nr_node = 0;
    uint32_t curr_node = 0; ///< the node whose transitions are being read
    std::array<const semantic_trans_t *, SEMANTIC_HISTORY_DIM> history{}; ///< a ring
    uint32_t nr_history = 0;         ///< transitions taken in all; the ring holds the last 16
    std::vector<uint32_t> rangeless; ///< keys of the nodes that a check found without a range
};

/// Makes `semantic` an empty machine.
void semantic_init(semantic_t *semantic);

/// Clears the counts, the history and what checks found, so that a machine serves for another
/// document.
void semantic_rewind(semantic_t *semantic);

/// The operations of the reader, on the node being read or on the pending transition of the
/// current node. Each returns 0, or -1 after printing the limit that is reached.
[[nodiscard]] int semantic_node_key_set(semantic_t *semantic, uint32_t key);
[[nodiscard]] int semantic_node_category_set(semantic_t *semantic, std::string_view category);
[[nodiscard]] int semantic_node_reset_add(semantic_t *semantic, uint32_t node);
[[nodiscard]] int semantic_node_check_add(semantic_t *semantic, uint32_t node);
[[nodiscard]] int semantic_node_min_set(semantic_t *semantic, uint32_t min);
[[nodiscard]] int semantic_node_max_set(semantic_t *semantic, uint32_t max);
[[nodiscard]] int semantic_trans_from_set(semantic_t *semantic, uint32_t from);
[[nodiscard]] int semantic_trans_to_set(semantic_t *semantic, uint32_t to);
[[nodiscard]] int semantic_trans_trans_set(semantic_t *semantic, std::string_view trans);
[[nodiscard]] int semantic_node_next(semantic_t *semantic);
[[nodiscard]] int semantic_trans_next(semantic_t *semantic);

/// Returns the first transition of `node`, in file order, that an event of kind `type` may take,
/// or null. `text` is the string of a TRANS_STRING event. A wildcard takes any string, number or
/// literal, also before a label that says exactly that string, and no label takes a number or a
/// literal. Oddities O71 and O72.
const semantic_trans_t *semantic_next_node_find(const semantic_node_t &node, trans_type_t type,
                                                std::string_view text);

/// Returns the labels of the string transitions of `node`, in file order.
std::vector<std::string_view> semantic_labels(const semantic_node_t &node);

/// Remembers a transition that was taken; only the last 16 are kept.
void semantic_history_add(semantic_t *semantic, const semantic_trans_t *trans);

/// Counts an entry into `node`.
void semantic_node_inc(semantic_t *semantic, uint32_t node);

/// Clears the counts that entering `node` resets.
void semantic_node_reset(semantic_t *semantic, uint32_t node);

/// Checks the counts that entering `node` by a closing event checks, in the order of its list,
/// clearing each that is in its range. Returns null, or the first node whose count is not. A
/// listed node without a range is noted, prints its line and ends the check without a failure.
/// Oddities O76 and O77.
const semantic_node_t *semantic_node_check(semantic_t *semantic, uint32_t node);

/// Prints the line of a listed node without a range, given its key.
void semantic_rangeless_print(uint32_t key);

/// Returns the label of the first string transition, by node and then by file order, that leads
/// to `node`, or null.
const semantic_trans_t *semantic_prev_string_node_find(const semantic_t &semantic,
                                                       const semantic_node_t &node);
