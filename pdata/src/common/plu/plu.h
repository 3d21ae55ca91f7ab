/// The protocol library update: changes to the protocol descriptions of an existing pdb.
///
/// Changes are first recorded as pending actions: the protocols of another pdb, or the removal of
/// a protocol's rules. A commit then rebuilds every protocol of the base through a record, applies
/// the actions of its id in the order in which they were recorded, leaves out rules that the
/// protocol has already, creates the protocols that the base lacks, and serializes each result.
/// Editing the stored bytes in place was turned down: every string offset would have to move.
///
/// The result is one root record, lengths in words:
///
///     PROTODESCS { PROTOGROUP { PROTOS { PROTO ... }, STRING } }
///
/// with the protocol that was serialized last in front (oddity O111), or an empty root record when
/// there is no protocol at all. The group's string table starts empty and is filled in the order in
/// which the protocols are serialized.
///
/// A part is handed over as the bytes of its root record, header included. Everything points into
/// the parts, which must outlive the commit.
///
/// Every failure is recorded with its message, where one is named; what was recorded as pending
/// stays. A record that does not end within the one around it counts as not found:
/// PDATA_ERR_TLV_NOT_FOUND. Memory that runs out is PDATA_ERR_NO_MEMORY.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "pdata_error.h"

struct pdata_commit_priv;

/// The handle of an update.
struct pdata_commit {
    const uint8_t *ci_tlv = nullptr; ///< the base's protocol descriptions; not owned
    size_t ci_tlvlen = 0;            ///< bytes
    std::unique_ptr<pdata_commit_priv> ci_priv;

    pdata_commit();
    ~pdata_commit();
};

/// What pdata_update_get_size returns before the commit.
constexpr size_t PDATA_UPDATE_NO_SIZE = SIZE_MAX;

/// Opens an update of the protocol descriptions `pdb_tlv`, whose rule tags refer to the strings of
/// `m_hstring_tlv`.
///
/// Fails with PDATA_ERR_INVALID_ARGUMENT and the message "Cannot retrieve root hstring in tlv
/// data\n" when there are no strings, PDATA_ERR_TLV_NOT_FOUND when there are no descriptions.
[[nodiscard]] pdata_status_t pdata_update_init(pdata_commit *commit,
                                               std::span<const uint8_t> pdb_tlv,
                                               std::span<const uint8_t> m_hstring_tlv);

/// Records the protocols of another pdb: an update for one that the base has, or that was recorded
/// as an addition before, an addition for any other. An update keeps the version of the base, and
/// its flags as far as they are set to something else than the default. Oddities O112 and O113.
///
/// `m_hstring_tlv` may be empty: the rule tags of `tlv` are then left out.
///
/// Fails with PDATA_ERR_INVALID_OPERATION after the commit, with
/// PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS for an addition outside the user namespace, and with the
/// status of whatever is damaged in either pdb. What came before the failure stays recorded.
[[nodiscard]] pdata_status_t pdata_update_merge(pdata_commit *commit, std::span<const uint8_t> tlv,
                                                std::span<const uint8_t> m_hstring_tlv);

/// Records the removal of all rules of a protocol. Fails with PDATA_ERR_INVALID_OPERATION after
/// the commit, with PDATA_ERR_PLU for an id that neither the base nor a recorded addition has.
[[nodiscard]] pdata_status_t pdata_update_remove(pdata_commit *commit, uint32_t protoid);

/// Applies everything that was recorded. Fails with PDATA_ERR_INVALID_OPERATION when it was done
/// before, with PDATA_ERR_OVERFLOW when a capacity of a protocol or of a record is exceeded, and
/// with the status of whatever is damaged or cannot be serialized.
[[nodiscard]] pdata_status_t pdata_update_commit(pdata_commit *commit);

/// Returns the size in bytes of the result: the string table, the protocols with their headers,
/// and the four headers around them, which are counted for an empty result as well (oddity O122).
/// Before the commit it is PDATA_UPDATE_NO_SIZE.
size_t pdata_update_get_size(const pdata_commit &commit);

/// Writes the result at the start of `buf`, which must be zero-filled, and gives the bytes
/// written: 4 for an empty result, else pdata_update_get_size.
///
/// Fails with PDATA_ERR_INVALID_OPERATION before the commit, with PDATA_ERR_INVALID_ARGUMENT for a
/// buffer of less than 4 words, with PDATA_ERR_OVERFLOW for one that the result does not fit.
[[nodiscard]] pdata_status_t pdata_update_serialize(const pdata_commit &commit,
                                                    std::span<uint8_t> buf, size_t *size);

/// Frees everything. The handle may be opened again.
void pdata_update_close(pdata_commit *commit);
