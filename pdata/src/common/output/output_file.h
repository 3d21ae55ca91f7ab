/// Output files: written whole or not at all, one alone or several together.
///
/// A file is written beside its target, in the same folder under a fixed name, and put in its place
/// by a rename once all of it, and all of every other file of the set, is there. Until then the old
/// file stands as it was; a failure removes what was written. The target is opened for writing
/// first, without truncating it, so that what could not be written is not begun.
///
///     output_t output;
///     output_error_t error;
///     if (!output_add(output, "out.pdb", parts, OUTPUT_TO_DISK, error) ||
///         !output_commit(output, error))
///         ... error.failure, error.filename, error.reason ...
///
/// Symbolic links are followed, and a target that is there keeps its mode. Written directly, by
/// output_commit, are targets that are no regular files, targets named by a descriptor of a process
/// (/dev/stdout), and those beside which the folder takes no new file.
///
/// Nothing is kept process-wide. While a set has files beside their targets, the calling thread
/// holds back signals that would end the process; they arrive when the set is in place, or given
/// up. A kill that cannot be held back leaves at most the files of the fixed names, which the next
/// run replaces.
///
/// Memory that runs out is std::bad_alloc; the set is then to be given up.
#pragma once

#include <signal.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What the name of a target gets behind it while its new content is not in place. A name that
/// would become too long is cut in front of it.
constexpr const char *OUTPUT_SUFFIX = ".pdata-new";

enum output_failure_t : uint32_t {
    OUTPUT_DONE = 0,
    OUTPUT_CANNOT_OPEN,  ///< the target cannot be opened for writing
    OUTPUT_CANNOT_WRITE, ///< a later step failed
};

/// Whether a file must be on the disk before it is put in place.
enum output_sync_t : uint32_t {
    OUTPUT_LEFT_TO_SYSTEM,
    OUTPUT_TO_DISK,
};

/// Bytes of a reason, its terminator included.
constexpr size_t OUTPUT_REASON_DIM = 128;

/// One failure.
struct output_error_t {
    output_failure_t failure = OUTPUT_DONE;
    const char *filename = nullptr;      ///< as it was given to output_add
    char reason[OUTPUT_REASON_DIM] = {}; ///< step and cause: "write: No space left on device"
};

/// The bytes of a file, one part behind the other.
using output_parts_t = std::span<const std::span<const uint8_t>>;

/// Returns the bytes of a text, as a part of a file.
inline std::span<const uint8_t> output_text(std::string_view text)
{
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

/// Who writes a file that is made as it is written. `write` writes all of it to `fd`, once, and
/// returns false with errno set when it could not.
struct output_writer_t {
    bool (*write)(void *context, int fd) = nullptr;
    void *context = nullptr;
};

/// One file of a set.
struct output_file_t {
    const char *filename = nullptr; ///< as it was given
    std::string target;             ///< what the links lead to; empty where none is asked for
    std::string temporary;          ///< what is renamed; empty: the target is written directly
    int fd = -1;                    ///< of what is written; closed when it is written whole
    bool regular = false;
    bool created = false; ///< the target was not there: a failure removes it
    int refusal = 0;      ///< errno for which the folder takes no new file; 0: it was not asked,
                          ///< or takes one
    output_sync_t sync = OUTPUT_LEFT_TO_SYSTEM;
    dev_t device = 0; ///< of the temporary file
    ino_t inode = 0;
    int pin = -1; ///< of the temporary file: its inode stays its own as long as this is open
    std::vector<std::span<const uint8_t>> parts;
    output_writer_t writer; ///< in place of parts, where there is one
};

/// A set of files that go in place together, in the order in which they were added.
struct output_t {
    std::vector<output_file_t> files;
    sigset_t before; ///< signals that the thread held back before; set while `holds_signals`
    bool holds_signals = false;

    output_t() = default;
    output_t(const output_t &) = delete;
    output_t &operator=(const output_t &) = delete;
    ~output_t(); ///< gives the set up, if it is not in place
};

/// Opens a target for writing and writes the parts beside it. `filename` and the parts must live
/// until the set is in place or given up.
///
/// Returns false with the failure in `error`; the set is then only to be given up.
[[nodiscard]] bool output_add(output_t &output, const char *filename, output_parts_t parts,
                              output_sync_t sync, output_error_t &error);

/// The same for a file that `writer` writes: now, or on output_commit where the target is written
/// directly.
[[nodiscard]] bool output_add_written(output_t &output, const char *filename,
                                      output_writer_t writer, output_sync_t sync,
                                      output_error_t &error);

/// Puts the files in place and empties the set: first those that are written directly, which may
/// still find no room, then the others, both in their order. Returns false with the failure in
/// `error`: files behind the one that failed are not in place, and nothing beside any target is
/// left.
[[nodiscard]] bool output_commit(output_t &output, output_error_t &error);

/// Gives the set up: removes what was written beside the targets, and empties it.
void output_discard(output_t &output);
