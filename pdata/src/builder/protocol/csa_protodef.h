/// The built-in protocols: the id of every protocol that the inspection engine knows by name.
///
/// The list is data (data/protocol_ids.tsv), turned into a sorted table when the program is built.
#pragma once

/// Returns the id of the built-in protocol of that exact, terminated name, or 0 when the name is
/// null, empty or unknown.
unsigned int dpi_proto_get_id_by_name(const char *proto_name);
