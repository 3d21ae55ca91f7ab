/// What is wrong with a file that is read, in the caller's hands.
///
/// Reading keeps nothing process-wide and prints nothing: an operation that can fail returns false
/// and fills the record it was given. The record is plain and of fixed size, so that telling of a
/// failure cannot fail itself, even without memory. The first fault counts: a reader stops at it
/// and its callers only say where they were.
#pragma once

#include <cstddef>
#include <cstdint>

/// Kinds of fault.
enum view_fault_t : uint32_t {
    VIEW_SOUND = 0, ///< none
    VIEW_CUT,       ///< the bytes end within a header, an entry or a fixed field
    VIEW_OVERLONG,  ///< a record claims more than its parent has left
    VIEW_OVERLAP,   ///< a record begins within the one before it
    VIEW_ABSENT,    ///< a record that must be there is not
    VIEW_UNKNOWN,   ///< a record of a type that its level does not have
    VIEW_LENGTH,    ///< a record of a length that its kind cannot have
    VIEW_COUNT,     ///< a count that exceeds what is there
    VIEW_REFERENCE, ///< an offset, index or id that leads nowhere
    VIEW_VALUE,     ///< a field whose value the format does not have
    VIEW_LOST,      ///< a part that nothing leads to, or that was cut when the file was made
    VIEW_ORDER,     ///< parts that do not follow one another as they must
    VIEW_MEMORY,    ///< memory ran out; says nothing about the file
};

/// How bad a fault is.
enum view_grade_t : uint32_t {
    VIEW_UNSAFE = 0, ///< something leads out of its bounds: nobody may use the file
    VIEW_UNSOUND,    ///< every reader is safe, but parts do not fit together or were lost
};

/// Bytes of an error's text, its terminator included.
constexpr size_t VIEW_TEXT_DIM = 192;

/// One fault and its place.
struct view_error_t {
    view_fault_t fault = VIEW_SOUND;
    view_grade_t grade = VIEW_UNSAFE;
    size_t offset = 0; ///< of the faulty record or field, in bytes from the file's start
    char text[VIEW_TEXT_DIM] = {}; ///< where and what, outermost part first; cut when too long
};

/// Returns the word for a fault, as in "overlapping record"; never null.
[[nodiscard]] const char *view_fault_name(view_fault_t fault);

/// Fills `error` with a fault at byte `offset` of the file and a text in the manner of printf.
/// Returns false, so that a check may end with it.
__attribute__((format(printf, 4, 5), cold)) bool view_fail(view_error_t &error, view_fault_t fault,
                                                           size_t offset, const char *format, ...);

/// Puts the name of an outer part, in the manner of printf, and ": " in front of the text of
/// `error`. Returns false.
__attribute__((format(printf, 2, 3), cold)) bool view_within(view_error_t &error,
                                                             const char *format, ...);
