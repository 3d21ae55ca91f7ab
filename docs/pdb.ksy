# A description of pdbs and loadable pdbs for Kaitai Struct, written by hand: a second opinion beside
# the tables that the tools are made from. docs/pdb.md tells what the fields mean.
meta:
  id: pdb
  title: Compiled protocol data
  file-extension: pdb
  endian: be
doc: |
  Records one after another, each a type and the length of its value. Texts are offsets into string
  pools: those of a description into the pool of its group, those of tags and aliases into the main
  one, those of matchers and rules into the pools of their sections.
seq:
  - id: records
    type: root
    repeat: eos
types:
  root:
    doc: A root record.
    seq:
      - id: kind
        type: u1
        enum: root_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'root_kind::load': load
            'root_kind::cfg': configuration
            'root_kind::protodescs': protodescs
            'root_kind::matcher_alias': matcher_aliases
            'root_kind::tags': tags
            'root_kind::string': pool
            'root_kind::version': version
            'root_kind::matchers': matchers
            'root_kind::rules': rules
  configuration:
    seq:
      - id: records
        type: cfg
        repeat: eos
  cfg:
    doc: What the configuration holds; the length counts bytes.
    seq:
      - id: kind
        type: u1
        enum: cfg_kind
      - id: len_bytes
        type: b24
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'cfg_kind::cfg_semantic': document
  protodescs:
    seq:
      - id: records
        type: protodesc
        repeat: eos
  protodesc:
    doc: A protocol group.
    seq:
      - id: kind
        type: u1
        enum: protodesc_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'protodesc_kind::protogroup': protogroup
  protogroup:
    seq:
      - id: records
        type: group
        repeat: eos
  group:
    doc: A part of a protocol group.
    seq:
      - id: kind
        type: u1
        enum: group_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'group_kind::protogroup_protos': protocols
            'group_kind::protogroup_string': pool
  protocols:
    seq:
      - id: records
        type: proto_entry
        repeat: eos
  proto_entry:
    doc: A protocol.
    seq:
      - id: kind
        type: u1
        enum: proto_entry_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'proto_entry_kind::proto': protocol
  protocol:
    seq:
      - id: records
        type: proto
        repeat: eos
  proto:
    doc: A part of a protocol.
    seq:
      - id: kind
        type: u1
        enum: proto_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'proto_kind::proto_meta': proto_meta
            'proto_kind::proto_tags': pairs
            'proto_kind::proto_desc': pairs
            'proto_kind::proto_compat': texts
            'proto_kind::proto_supported_version': texts
            'proto_kind::proto_altname': texts
            'proto_kind::proto_rules_offset': positions
            'proto_kind::proto_rules': protocol_rules
  protocol_rules:
    seq:
      - id: records
        type: proto_rule_entry
        repeat: eos
  proto_rule_entry:
    doc: A rule; the first kind where its order is significant.
    seq:
      - id: kind
        type: u1
        enum: proto_rule_entry_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'proto_rule_entry_kind::proto_rule_order': protocol_rule
            'proto_rule_entry_kind::proto_rule': protocol_rule
  protocol_rule:
    seq:
      - id: records
        type: proto_rule
        repeat: eos
  proto_rule:
    doc: A part of a rule.
    seq:
      - id: kind
        type: u1
        enum: proto_rule_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'proto_rule_kind::proto_rule_meta_v6': rule_meta_v6
            'proto_rule_kind::proto_rule_meta_v5': rule_meta_v5
            'proto_rule_kind::proto_sub_rules_offset': positions
            'proto_rule_kind::proto_sub_rules': sub_rules
            'proto_rule_kind::proto_rule_meta_v4': rule_meta_v4
            'proto_rule_kind::proto_rule_meta_v3': rule_meta_v3
            'proto_rule_kind::proto_rule_meta_v2': rule_meta_v2
            'proto_rule_kind::proto_rule_meta': rule_meta_v1
  sub_rules:
    seq:
      - id: records
        type: sub_rule_entry
        repeat: eos
  sub_rule_entry:
    doc: A sub-rule.
    seq:
      - id: kind
        type: u1
        enum: sub_rule_entry_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'sub_rule_entry_kind::proto_sub_rule': sub_rule
  sub_rule:
    seq:
      - id: records
        type: proto_sub_rule
        repeat: eos
  proto_sub_rule:
    doc: A part of a sub-rule.
    seq:
      - id: kind
        type: u1
        enum: proto_sub_rule_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'proto_sub_rule_kind::proto_sub_rule_meta_v2': sub_rule_meta_v2
            'proto_sub_rule_kind::proto_sub_rule_attrs_offset': positions
            'proto_sub_rule_kind::proto_sub_rule_attrs': attributes
            'proto_sub_rule_kind::proto_sub_rule_meta': sub_rule_meta_v1
  attributes:
    seq:
      - id: records
        type: proto_attr
        repeat: eos
  proto_attr:
    doc: An attribute and its values.
    seq:
      - id: kind
        type: u1
        enum: proto_attr_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'proto_attr_kind::proto_attr_stream_offset': stream_values
            'proto_attr_kind::proto_attr_number_8': values
            'proto_attr_kind::proto_attr_number_16': values
            'proto_attr_kind::proto_attr_ip_4': values
            'proto_attr_kind::proto_attr_ip_6': values
            'proto_attr_kind::proto_attr_stream': values
  matchers:
    seq:
      - id: records
        type: matchers_part
        repeat: eos
  matchers_part:
    doc: A part of the matchers section.
    seq:
      - id: kind
        type: u1
        enum: matchers_part_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'matchers_part_kind::pdb_matcher_list': matcher_list
            'matchers_part_kind::pdb_matcher_string': pool
  matcher_list:
    seq:
      - id: records
        type: matcher_entry
        repeat: eos
  matcher_entry:
    doc: A matcher.
    seq:
      - id: kind
        type: u1
        enum: matcher_entry_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'matcher_entry_kind::pdb_matcher': matcher
  matcher:
    seq:
      - id: records
        type: matcher_part
        repeat: eos
  matcher_part:
    doc: A part of a matcher.
    seq:
      - id: kind
        type: u1
        enum: matcher_part_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'matcher_part_kind::pdb_matcher_meta': matcher_name
            'matcher_part_kind::pdb_matcher_data': matcher_data
  matcher_data:
    seq:
      - id: records
        type: matcher_data_part
        repeat: eos
  matcher_data_part:
    doc: A part of what a matcher holds.
    seq:
      - id: kind
        type: u1
        enum: matcher_data_part_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'matcher_data_part_kind::matcher_meta': matcher_meta
            'matcher_data_part_kind::matcher_number': number_blobs
            'matcher_data_part_kind::matcher_ac': pattern_blobs
            'matcher_data_part_kind::matcher_l2': second_level
            'matcher_data_part_kind::matcher_string': pool
  rules:
    seq:
      - id: records
        type: rules_part
        repeat: eos
  rules_part:
    doc: A part of the rules section.
    seq:
      - id: kind
        type: u1
        enum: rules_part_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'rules_part_kind::pdb_rule_meta': word
            'rules_part_kind::pdb_rule_protocol_map': words
            'rules_part_kind::pdb_rule_tag_map': words
            'rules_part_kind::pdb_rule_engine': rule_engine
            'rules_part_kind::pdb_rule_string': pool
  rule_engine:
    seq:
      - id: records
        type: rule_engine_part
        repeat: eos
  rule_engine_part:
    doc: The table of items.
    seq:
      - id: kind
        type: u1
        enum: rule_engine_part_kind
      - id: len_words
        type: b24
      - id: value
        size: len_words * 4
        type:
          switch-on: kind
          cases:
            'rule_engine_part_kind::rule_table': rule_table
  number_blobs:
    seq:
      - id: records
        type: number_blob
        repeat: eos
  number_blob:
    doc: A part of a number matcher.
    seq:
      - id: kind
        type: u4
        enum: number_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'number_blob_kind::number_type': word
            'number_blob_kind::number_mapper': mapper_blobs
            'number_blob_kind::number_interval': interval_blobs
  mapper_blobs:
    seq:
      - id: records
        type: mapper_blob
        repeat: eos
  mapper_blob:
    doc: A part of a mapper.
    seq:
      - id: kind
        type: u4
        enum: mapper_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'mapper_blob_kind::mapper_endpoints': half_words
            'mapper_blob_kind::mapper_items': words
  interval_blobs:
    seq:
      - id: records
        type: interval_blob
        repeat: eos
  interval_blob:
    doc: A part of the intervals.
    seq:
      - id: kind
        type: u4
        enum: interval_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'interval_blob_kind::interval_meta': words
            'interval_blob_kind::interval_msb': octets
            'interval_blob_kind::interval_endpoints': words
            'interval_blob_kind::interval_offsets': words
            'interval_blob_kind::interval_items': words
  pattern_blobs:
    seq:
      - id: records
        type: pattern_blob
        repeat: eos
  pattern_blob:
    doc: The engines of a text matcher.
    seq:
      - id: kind
        type: u4
        enum: pattern_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'pattern_blob_kind::pattern_meta': word
            'pattern_blob_kind::pattern_aho_corasick': aho_corasick_blobs
            'pattern_blob_kind::pattern_ahoff_corasick': aho_corasick_blobs
            'pattern_blob_kind::pattern_prefix_tree': radix_blobs
            'pattern_blob_kind::pattern_suffix_tree': radix_blobs
            'pattern_blob_kind::pattern_dot_prefix': dot_prefix_blobs
  alphabet_blobs:
    seq:
      - id: records
        type: alphabet_blob
        repeat: eos
  alphabet_blob:
    doc: A part of an alphabet.
    seq:
      - id: kind
        type: u4
        enum: alphabet_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'alphabet_blob_kind::alphabet_size': word
            'alphabet_blob_kind::alphabet_map': octets
  radix_blobs:
    seq:
      - id: records
        type: radix_blob
        repeat: eos
  radix_blob:
    doc: A part of a radix tree.
    seq:
      - id: kind
        type: u4
        enum: radix_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'radix_blob_kind::radix_transitions': half_words
            'radix_blob_kind::radix_c_edges': edges
            'radix_blob_kind::radix_items': words
            'radix_blob_kind::radix_exact_bitmap': bitmap
            'radix_blob_kind::radix_c_edges_bitmap': bitmap
            'radix_blob_kind::radix_alphabet': alphabet_blobs
            'radix_blob_kind::radix_meta': word
  aho_corasick_blobs:
    seq:
      - id: records
        type: aho_corasick_blob
        repeat: eos
  aho_corasick_blob:
    doc: A part of an automaton.
    seq:
      - id: kind
        type: u4
        enum: aho_corasick_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'aho_corasick_blob_kind::aho_corasick_transitions': half_words
            'aho_corasick_blob_kind::aho_corasick_items': words
            'aho_corasick_blob_kind::aho_corasick_alphabet': alphabet_blobs
            'aho_corasick_blob_kind::aho_corasick_meta': words
  dot_prefix_blobs:
    seq:
      - id: records
        type: dot_prefix_blob
        repeat: eos
  dot_prefix_blob:
    doc: A part of a dot-prefix tree.
    seq:
      - id: kind
        type: u4
        enum: dot_prefix_blob_kind
      - id: len_bytes
        type: u4
      - id: value
        size: len_bytes
        type:
          switch-on: kind
          cases:
            'dot_prefix_blob_kind::dot_prefix_alphabet': alphabet_blobs
            'dot_prefix_blob_kind::dot_prefix_transitions': half_words
            'dot_prefix_blob_kind::dot_prefix_items': words
  pool:
    doc: Texts; a reference is the offset of the length in front of one.
    seq:
      - id: entries
        type: pool_entry
        repeat: eos
  pool_entry:
    doc: One text; an empty one is padding at the end of the pool.
    seq:
      - id: len_text
        type: u2
      - id: text
        size: len_text
      - id: padding
        size: len_text % 2
  load:
    seq:
      - id: state
        type: u4
        enum: load_state
  document:
    doc: The rules that protocols are checked with, as JSON.
    seq:
      - id: json
        size-eos: true
  version:
    seq:
      - id: major
        type: u4
      - id: minor
        type: u4
      - id: len_text
        type: u4
      - id: text
        size: len_text
      - id: padding
        size-eos: true
  matcher_aliases:
    seq:
      - id: rows
        type: matcher_alias
        repeat: expr
        repeat-expr: _io.size / 18
      - id: padding
        size-eos: true
  matcher_alias:
    seq:
      - id: alias_protocol
        type: u4
      - id: alias_attribute
        type: u4
      - id: alias_way
        type: u1
      - id: reference_protocol
        type: u4
      - id: reference_attribute
        type: u4
      - id: reference_way
        type: u1
  tags:
    seq:
      - id: rows
        type: tag
        repeat: eos
  tag:
    seq:
      - id: name
        type: u4
      - id: number
        type: u4
  proto_meta:
    doc: Forms of earlier releases end after the sixth word or the ninth.
    seq:
      - id: id
        type: u4
      - id: name
        type: u4
      - id: default_port
        type: u4
      - id: max_trans
        type: u4
      - id: cacheable
        type: u4
      - id: http_reclassify
        type: u4
        if: not _io.eof
      - id: version_major
        type: u4
        if: not _io.eof
      - id: version_minor
        type: u4
        if: not _io.eof
      - id: version_revision
        type: u4
        if: not _io.eof
      - id: implicit_bottom_layer
        type: u4
        if: not _io.eof
  pairs:
    seq:
      - id: rows
        type: pair
        repeat: eos
  pair:
    seq:
      - id: key
        type: u4
      - id: value
        type: u4
  texts:
    seq:
      - id: texts
        type: u4
        repeat: eos
  positions:
    doc: Words from the beginning of the list that follows.
    seq:
      - id: positions
        type: u4
        repeat: eos
  rule_meta_v6:
    seq:
      - id: priority
        type: u4
      - id: reserved
        type: u4
      - id: scope
        type: u4
      - id: vid
        type: u4
      - id: fastpass
        type: u4
      - id: preempt
        type: u4
      - id: path_count
        type: u4
      - id: path
        type: u4
        repeat: expr
        repeat-expr: path_count
      - id: tag_count
        type: u4
      - id: tags
        type: u4
        repeat: expr
        repeat-expr: tag_count
  rule_meta_v5:
    seq:
      - id: priority
        type: u4
      - id: reserved
        type: u4
      - id: scope
        type: u4
      - id: fastpass
        type: u4
      - id: preempt
        type: u4
      - id: path_count
        type: u4
      - id: path
        type: u4
        repeat: expr
        repeat-expr: path_count
      - id: tag_count
        type: u4
      - id: tags
        type: u4
        repeat: expr
        repeat-expr: tag_count
  rule_meta_v4:
    seq:
      - id: priority
        type: u4
      - id: reserved
        type: u4
      - id: fastpass
        type: u4
      - id: preempt
        type: u4
      - id: path_count
        type: u4
      - id: path
        type: u4
        repeat: expr
        repeat-expr: path_count
      - id: tag_count
        type: u4
      - id: tags
        type: u4
        repeat: expr
        repeat-expr: tag_count
  rule_meta_v3:
    seq:
      - id: priority
        type: u4
      - id: preempt
        type: u4
      - id: path_count
        type: u4
      - id: path
        type: u4
        repeat: expr
        repeat-expr: path_count
      - id: tag_count
        type: u4
      - id: tags
        type: u4
        repeat: expr
        repeat-expr: tag_count
  rule_meta_v2:
    seq:
      - id: priority
        type: u4
      - id: path_count
        type: u4
      - id: path
        type: u4
        repeat: expr
        repeat-expr: path_count
      - id: tag_count
        type: u4
      - id: tags
        type: u4
        repeat: expr
        repeat-expr: tag_count
  rule_meta_v1:
    seq:
      - id: priority
        type: u4
      - id: path
        type: u4
        repeat: eos
  sub_rule_meta_v2:
    seq:
      - id: protocol
        type: u4
      - id: bottom_protocol
        type: u4
      - id: stc_mindata
        type: u4
      - id: cts_mindata
        type: u4
  sub_rule_meta_v1:
    seq:
      - id: protocol
        type: u4
      - id: stc_mindata
        type: u4
      - id: cts_mindata
        type: u4
  values:
    seq:
      - id: way_and_transport
        type: u4
      - id: name
        type: u4
      - id: values
        type: u4
        repeat: eos
  stream_values:
    seq:
      - id: way_and_transport
        type: u4
      - id: name
        type: u4
      - id: values
        type: u4
        repeat: expr
        repeat-expr: (_io.size - 8) / 8
      - id: offsets
        type: u4
        repeat: expr
        repeat-expr: (_io.size - 8) / 8
  matcher_name:
    seq:
      - id: protocol
        type: u4
      - id: attribute
        type: u4
      - id: way
        type: u4
        enum: way
  matcher_meta:
    seq:
      - id: type
        type: u4
      - id: min_data
        type: u4
  second_level:
    seq:
      - id: rows
        type: second_level_entry
        repeat: eos
  second_level_entry:
    seq:
      - id: pub_id
        type: u4
      - id: off
        type: u4
      - id: nr_piece
        type: u1
      - id: position
        type: u1
      - id: permutation
        type: u1
      - id: kind
        type: u1
      - id: re_id
        type: u4
  rule_table:
    seq:
      - id: rows
        type: rule_row
        repeat: eos
  rule_row:
    doc: What an item counts for.
    seq:
      - id: fastpass
        type: b1
      - id: params
        type: b3
      - id: rule
        type: b28
      - id: range
        type: u1
      - id: order
        type: b24
      - id: scope
        type: u4
      - id: position
        type: u2
      - id: full
        type: u2
  edges:
    doc: Compressed edges; number 0 is none.
    seq:
      - id: none
        type: u4
      - id: edges
        type: edge
        repeat: eos
  edge:
    seq:
      - id: end
        type: u2
      - id: len_bytes
        type: u1
      - id: bytes
        size: len_bytes
      - id: padding
        size: (1 - len_bytes) % 4
  bitmap:
    seq:
      - id: last
        type: u4
      - id: bits
        type: u1
        repeat: eos
  word:
    seq:
      - id: word
        type: u4
  words:
    seq:
      - id: words
        type: u4
        repeat: eos
  half_words:
    seq:
      - id: half_words
        type: u2
        repeat: eos
  octets:
    seq:
      - id: octets
        type: u1
        repeat: eos
enums:
  load_state:
    0x01000001: description
    0x02000002: loadable
    0x03000003: loaded_little_endian
  way:
    0: unknown
    1: cts
    2: stc
    3: both
  root_kind:
    12: load
    11: cfg
    1: protodescs
    10: matcher_alias
    9: tags
    3: string
    6: version
    7: default_loaded
    4: matchers
    5: rules
  cfg_kind:
    38: cfg_semantic
  protodesc_kind:
    1: protogroup
  group_kind:
    1: protogroup_protos
    2: protogroup_string
  proto_entry_kind:
    1: proto
  proto_kind:
    1: proto_meta
    2: proto_tags
    3: proto_desc
    6: proto_compat
    4: proto_supported_version
    5: proto_altname
    8: proto_rules_offset
    7: proto_rules
  proto_rule_entry_kind:
    1: proto_rule_order
    2: proto_rule
  proto_rule_kind:
    8: proto_rule_meta_v6
    7: proto_rule_meta_v5
    3: proto_sub_rules_offset
    2: proto_sub_rules
    6: proto_rule_meta_v4
    5: proto_rule_meta_v3
    4: proto_rule_meta_v2
    1: proto_rule_meta
  sub_rule_entry_kind:
    2: proto_sub_rule
  proto_sub_rule_kind:
    4: proto_sub_rule_meta_v2
    3: proto_sub_rule_attrs_offset
    2: proto_sub_rule_attrs
    1: proto_sub_rule_meta
  proto_attr_kind:
    6: proto_attr_stream_offset
    5: proto_attr_number_8
    2: proto_attr_number_16
    3: proto_attr_ip_4
    4: proto_attr_ip_6
    1: proto_attr_stream
  matchers_part_kind:
    1: pdb_matcher_list
    2: pdb_matcher_string
  matcher_entry_kind:
    1: pdb_matcher
  matcher_part_kind:
    1: pdb_matcher_meta
    2: pdb_matcher_data
  matcher_data_part_kind:
    1: matcher_meta
    2: matcher_number
    3: matcher_ac
    4: matcher_l2
    5: matcher_string
  rules_part_kind:
    1: pdb_rule_meta
    2: pdb_rule_protocol_map
    5: pdb_rule_tag_map
    3: pdb_rule_engine
    4: pdb_rule_string
  rule_engine_part_kind:
    1: rule_table
  number_blob_kind:
    15: number_type
    16: number_mapper
    17: number_interval
  mapper_blob_kind:
    13: mapper_endpoints
    14: mapper_items
  interval_blob_kind:
    42: interval_meta
    43: interval_msb
    44: interval_endpoints
    45: interval_offsets
    46: interval_items
  pattern_blob_kind:
    18: pattern_meta
    19: pattern_aho_corasick
    20: pattern_ahoff_corasick
    21: pattern_prefix_tree
    22: pattern_suffix_tree
    23: pattern_dot_prefix
  alphabet_blob_kind:
    25: alphabet_size
    26: alphabet_map
  radix_blob_kind:
    29: radix_transitions
    27: radix_c_edges
    30: radix_items
    31: radix_exact_bitmap
    28: radix_c_edges_bitmap
    33: radix_alphabet
    32: radix_meta
  aho_corasick_blob_kind:
    34: aho_corasick_transitions
    35: aho_corasick_items
    37: aho_corasick_alphabet
    36: aho_corasick_meta
  dot_prefix_blob_kind:
    41: dot_prefix_alphabet
    39: dot_prefix_transitions
    40: dot_prefix_items
