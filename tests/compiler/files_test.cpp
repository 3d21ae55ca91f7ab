#include "pdata_compiler_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include <thread>

#include "bytes.h"
#include "captured.h"
#include "failing_call.h"
#include "outcome.h"
#include "tlv_description.h"
#include "work_folder.h"

namespace
{

class compiler_files : public work_folder
{
protected:
    void SetUp() override { clear_status_slot(); }
};

// Four parts of one word each, told apart by their values.
const char *const DESCRIPTIONS = "01 000001 'd 'e 's 'c";
const char *const TAGS = "09 000001 't 'a 'g 's";
const char *const STRINGS = "03 000001 's 't 'r 's";
const char *const ALIASES = "0a 000001 'a 'l 'i 'a";
const char *const LOADABLE = "0c 000001 02 00 00 02";
const char *const IN_HOST_ORDER = "0c 000001 03 00 00 03";
const char *const VERSION = "06 000001 ff ff ff ff";

/// Writes a text into a file of its own.
pdata_status_t write_text(const char *filename, const char *text)
{
    output_t output;
    PDATA_TRY(pdata_compiler_write(output, filename, text));
    return pdata_output_commit(output, PDATA_SUCCESS);
}

std::vector<uint8_t> pdb_of(std::initializer_list<const char *> parts)
{
    std::string text;
    for (const char *part : parts)
        text.append(part).append(" ");
    return bytes(text);
}

std::vector<uint8_t> part_bytes(const pdb_t &part)
{
    const std::span<const uint8_t> content = pdb_header_bytes(part);
    EXPECT_EQ(part.pdb_tlv_len, content.size());
    return {content.begin(), content.end()};
}

pdb_list_t list_of(std::initializer_list<std::pair<pdb_type_t, const char *>> parts)
{
    pdb_list_t list;
    size_t n = 0;
    for (const auto &[type, text] : parts)
        EXPECT_TRUE(pdb_header_set(&list[n++], type, bytes(text)));
    return list;
}

TEST_F(compiler_files, a_file_is_read_whole)
{
    std::vector<uint8_t> content;
    for (int i = 0; i < 70000; ++i)
        content.push_back(static_cast<uint8_t>(i * 7));
    put_file("all", content);
    csa_buf_t buf = {1, 2, 3};
    ASSERT_TRUE(pdata_compiler_read("all", &buf));
    EXPECT_EQ(buf, content);
}

TEST_F(compiler_files, a_file_of_length_0_is_read)
{
    put_file("empty", "");
    csa_buf_t buf = {1};
    EXPECT_TRUE(pdata_compiler_read("empty", &buf));
    EXPECT_TRUE(buf.empty());
    EXPECT_TRUE(pdata_compiler_read("/dev/null", &buf));
}

TEST_F(compiler_files, what_cannot_be_read_leaves_nothing_and_records_nothing)
{
    std::filesystem::create_directory("folder");
    for (const char *name : {"nowhere", "folder", "", "nowhere/file"}) {
        csa_buf_t buf = {1};
        EXPECT_FALSE(pdata_compiler_read(name, &buf)) << name;
        EXPECT_TRUE(buf.empty()) << name;
        EXPECT_EQ(outcome(PDATA_SUCCESS), "0") << name;
    }
}

/// What reading a file says on standard error; "" for success.
std::string refusal(const char *name)
{
    csa_buf_t buf;
    bool read = false;
    const std::string said = stderr_of([&] { read = pdata_compiler_read(name, &buf); });
    EXPECT_EQ(read, said.empty()) << name;
    EXPECT_TRUE(buf.empty()) << name;
    return said;
}

TEST_F(compiler_files, a_pipe_is_read_to_its_end)
{
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    for (const size_t size : {0U, 1U, 65535U, 65536U, 65537U, 1000000U}) {
        std::vector<uint8_t> content(size);
        for (size_t i = 0; i < size; ++i)
            content[i] = static_cast<uint8_t>(i * 31);
        std::thread writer([&] { put_file("pipe", content); });
        csa_buf_t buf;
        EXPECT_TRUE(pdata_compiler_read("pipe", &buf));
        writer.join();
        EXPECT_EQ(buf, content);
    }
}

TEST_F(compiler_files, a_file_that_becomes_shorter_is_refused)
{
    put_file("input", "0123456789");
    const failing_call call(CALL_READ, [] { EXPECT_EQ(truncate("input", 9), 0); });
    EXPECT_EQ(refusal("input"), "pdata_compiler: input: it became shorter while it was read\n");
}

TEST_F(compiler_files, an_error_of_a_device_is_named)
{
    put_file("file", "text");
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    const int writer = open("pipe", O_RDWR);
    for (const std::string name : {"file", "pipe", "/dev/null"}) {
        const failing_call call(CALL_READ, EIO);
        EXPECT_EQ(refusal(name.c_str()), "pdata_compiler: " + name + ": Input/output error\n");
    }
    close(writer);
}

TEST_F(compiler_files, a_terminal_is_read_to_its_end)
{
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal == -1 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
        GTEST_SKIP() << "needs a terminal";
    const char *name = ptsname(terminal);
    const int kept = open(name, O_RDWR | O_NOCTTY);
    ASSERT_EQ(write(terminal, "typed\n\4", 7), 7); // and what a user ends it with
    csa_buf_t buf;
    EXPECT_TRUE(pdata_compiler_read(name, &buf));
    EXPECT_EQ(std::string(buf.begin(), buf.end()), "typed\n");
    close(kept);
    close(terminal);
}

TEST_F(compiler_files, what_is_no_file_is_refused_with_its_reason)
{
    std::filesystem::create_directory("folder");
    EXPECT_EQ(refusal("folder"), "pdata_compiler: folder: Is a directory\n");
    EXPECT_EQ(refusal("/dev/zero"), "pdata_compiler: /dev/zero: it is a device\n");
    EXPECT_EQ(refusal("/dev/null"), "");
    put_file("large", "x");
    std::filesystem::resize_file("large", uintmax_t{1} << 31); // a hole, not data
    EXPECT_EQ(refusal("large"), "pdata_compiler: large: File too large\n");
}

TEST_F(compiler_files, a_file_of_two_gibibytes_is_too_large)
{
    put_file("large", "x");
    std::filesystem::resize_file("large", uintmax_t{1} << 31); // a hole, not data
    csa_buf_t buf;
    EXPECT_FALSE(pdata_compiler_read("large", &buf));
}

TEST_F(compiler_files, a_text_is_written_up_to_its_terminator)
{
    put_file("out", "something longer that was there");
    EXPECT_EQ(outcome(write_text("out", "a\n%s\t\xff")), "0");
    EXPECT_EQ(file_text("out"), "a\n%s\t\xff");
    EXPECT_EQ(outcome(write_text("out", "")), "0");
    EXPECT_EQ(file_text("out"), "");
}

TEST_F(compiler_files, a_text_that_cannot_be_written_is_reported)
{
    EXPECT_EQ(outcome(write_text("nowhere/x", "a")),
              OUTCOME_IO ": pdata_compiler : unable to open nowhere/x.\n");
}

TEST_F(compiler_files, a_description_is_read_whole)
{
    put_file("in.pdd", "{\"protocols\": []}");
    pdd_t pdd;
    EXPECT_EQ(outcome(pdata_compiler_init_pdd(&pdd, "in.pdd", 3)), "0");
    EXPECT_EQ(pdd.pdd_json, text_bytes("{\"protocols\": []}"));
    EXPECT_EQ(outcome(pdata_compiler_init_pdd(&pdd, "nowhere", 3)),
              OUTCOME_IO ": pdata_compiler: unable to open file nowhere.\n");
}

TEST_F(compiler_files, the_load_state_is_the_first_word_of_its_record)
{
    EXPECT_EQ(pdata_pdb_loaded_get(pdb_of({LOADABLE})), 0x02000002U);
    EXPECT_EQ(pdata_pdb_loaded_get(pdb_of({DESCRIPTIONS, IN_HOST_ORDER, LOADABLE})), 0x03000003U);
    EXPECT_EQ(pdata_pdb_loaded_get(bytes("0c 000002 03 00 00 03 ff ff ff ff")), 0x03000003U);
    EXPECT_EQ(pdata_pdb_loaded_get(bytes("0c 000001 12 34 56 78")), 0x12345678U);
}

TEST_F(compiler_files, a_pdb_without_a_load_state_counts_as_loadable)
{
    EXPECT_EQ(pdata_pdb_loaded_get({}), 0x02000002U);
    EXPECT_EQ(pdata_pdb_loaded_get(pdb_of({DESCRIPTIONS, TAGS})), 0x02000002U);
    EXPECT_EQ(pdata_pdb_loaded_get(bytes("0c 000000")), 0x02000002U) << "a record without a word";
    EXPECT_EQ(pdata_pdb_loaded_get(bytes("0c 000001")), 0x02000002U) << "a word that is not there";
    EXPECT_EQ(pdata_pdb_loaded_get(bytes("0c 000001 03 00 00")), 0x02000002U);
}

TEST_F(compiler_files, parts_are_cut_out_wherever_they_stand)
{
    pdb_list_t list;
    pdb_tlv_index_t at;
    const csa_buf_t pdb = pdb_of({VERSION, STRINGS, LOADABLE, ALIASES, TAGS, DESCRIPTIONS});
    ASSERT_EQ(pdata_compiler_config(pdb, &list, &at), PDATA_SUCCESS);
    EXPECT_EQ(list[0].pdb_type, PDB_TYPE_PROTOCOL_DESCRIPTION);
    EXPECT_EQ(part_bytes(list[0]), bytes(DESCRIPTIONS));
    EXPECT_EQ(list[1].pdb_type, PDB_TYPE_TAGS);
    EXPECT_EQ(part_bytes(list[1]), bytes(TAGS));
    EXPECT_EQ(list[2].pdb_type, PDB_TYPE_MAIN_HSTRING);
    EXPECT_EQ(part_bytes(list[2]), bytes(STRINGS));
    EXPECT_EQ(list[3].pdb_type, PDB_TYPE_MATCHER_ALIAS);
    EXPECT_EQ(part_bytes(list[3]), bytes(ALIASES));
    EXPECT_EQ(list[4].pdb_type, PDB_TYPE_END);
    EXPECT_EQ(list[4].pdb_tlv, nullptr);
    EXPECT_EQ(list[4].pdb_tlv_len, 0U);
    EXPECT_EQ(at.root_protodescs, 0U);
    EXPECT_EQ(at.root_tags, 1U);
    EXPECT_EQ(at.root_string, 2U);
    EXPECT_EQ(at.root_matcher_alias, 3U);
}

TEST_F(compiler_files, missing_parts_leave_no_gap)
{
    pdb_list_t list;
    pdb_tlv_index_t at;
    ASSERT_EQ(pdata_compiler_config(pdb_of({ALIASES, DESCRIPTIONS}), &list, &at), PDATA_SUCCESS);
    EXPECT_EQ(list[0].pdb_type, PDB_TYPE_PROTOCOL_DESCRIPTION);
    EXPECT_EQ(list[1].pdb_type, PDB_TYPE_MATCHER_ALIAS);
    EXPECT_EQ(list[2].pdb_type, PDB_TYPE_END);
    EXPECT_EQ(at.root_matcher_alias, 1U);
    EXPECT_EQ(at.root_tags, 0U);
}

TEST_F(compiler_files, tags_in_front_look_like_tags_that_are_missing)
{
    pdb_list_t list;
    pdb_tlv_index_t at = {9, 9, 9, 9};
    ASSERT_EQ(pdata_compiler_config(pdb_of({TAGS, STRINGS}), &list, &at), PDATA_SUCCESS);
    EXPECT_EQ(list[0].pdb_type, PDB_TYPE_TAGS);
    EXPECT_EQ(at.root_tags, 0U);
    EXPECT_EQ(at.root_string, 1U);
    EXPECT_EQ(at.root_protodescs, 0U);
}

TEST_F(compiler_files, of_two_records_of_a_type_the_first_counts)
{
    pdb_list_t list;
    pdb_tlv_index_t at;
    ASSERT_EQ(pdata_compiler_config(pdb_of({DESCRIPTIONS, "01 000000"}), &list, &at),
              PDATA_SUCCESS);
    EXPECT_EQ(part_bytes(list[0]), bytes(DESCRIPTIONS));
    EXPECT_EQ(list[1].pdb_type, PDB_TYPE_END);
}

TEST_F(compiler_files, a_pdb_without_any_part_gives_an_empty_list)
{
    pdb_list_t list = list_of({{PDB_TYPE_TAGS, TAGS}});
    pdb_tlv_index_t at;
    for (const csa_buf_t &pdb : {csa_buf_t{}, bytes("01"), bytes("010000"), pdb_of({VERSION}),
                                 bytes("01 000002 'a 'b 'c 'd")}) {
        ASSERT_EQ(pdata_compiler_config(pdb, &list, &at), PDATA_SUCCESS);
        EXPECT_EQ(list[0].pdb_type, PDB_TYPE_END);
    }
}

TEST_F(compiler_files, a_list_must_be_there)
{
    pdb_tlv_index_t at;
    EXPECT_EQ(outcome(pdata_compiler_config(pdb_of({TAGS}), nullptr, &at)),
              OUTCOME_INVALID_ARGUMENT);
}

TEST_F(compiler_files, one_part_is_cut_out_with_its_header)
{
    pdb_t part;
    const csa_buf_t pdb = pdb_of({VERSION, TAGS});
    EXPECT_EQ(outcome(pdata_compiler_config_type(9, PDB_TYPE_TAGS, pdb, &part)), "0");
    EXPECT_EQ(part_bytes(part), bytes(TAGS));
    EXPECT_EQ(outcome(pdata_compiler_config_type(3, PDB_TYPE_MAIN_HSTRING, pdb, &part)),
              OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(part.pdb_type, PDB_TYPE_TAGS) << "as it was";
}

TEST_F(compiler_files, a_pdb_is_read_and_cut)
{
    put_file("a.pdb", pdb_of({TAGS, DESCRIPTIONS}));
    pdb_list_t list;
    pdb_tlv_index_t at;
    uint32_t network_endian = 1;
    EXPECT_EQ(outcome(pdata_compiler_init_pdb("a.pdb", &list, &at, &network_endian)), "0");
    EXPECT_EQ(part_bytes(list[0]), bytes(DESCRIPTIONS));
    EXPECT_EQ(part_bytes(list[1]), bytes(TAGS));
    EXPECT_EQ(network_endian, 1U);
    EXPECT_EQ(outcome(pdata_compiler_init_pdb("nowhere", &list, &at, &network_endian)),
              OUTCOME_IO ": pdata_compiler: unable to open file nowhere.\n");
}

TEST_F(compiler_files, a_list_is_split_at_semicolons)
{
    put_file("a", pdb_of({DESCRIPTIONS}));
    put_file("b", pdb_of({TAGS}));
    for (const char *names : {"a;b", "a;b;", ";a;;;b;;"}) {
        pdb_in_list_t input;
        uint32_t network_endian = 1;
        ASSERT_EQ(outcome(pdata_compiler_fill_pdb_list(names, &input, &network_endian)), "0");
        ASSERT_EQ(input.size(), 2U) << names;
        EXPECT_EQ(input.front().pdb[0].pdb_type, PDB_TYPE_PROTOCOL_DESCRIPTION);
        EXPECT_EQ(input.back().pdb[0].pdb_type, PDB_TYPE_TAGS);
    }
    for (const char *names : {"", ";", ";;;"}) {
        pdb_in_list_t input;
        uint32_t network_endian = 1;
        EXPECT_EQ(outcome(pdata_compiler_fill_pdb_list(names, &input, &network_endian)), "0");
        EXPECT_TRUE(input.empty());
    }
}

TEST_F(compiler_files, an_unreadable_file_ends_the_list_and_keeps_what_was_read)
{
    put_file("a", pdb_of({DESCRIPTIONS}));
    put_file("b", pdb_of({TAGS}));
    pdb_in_list_t input;
    uint32_t network_endian = 1;
    EXPECT_EQ(outcome(pdata_compiler_fill_pdb_list("a;nowhere;b", &input, &network_endian)),
              OUTCOME_IO ": pdata_compiler: unable to open file nowhere.\n");
    EXPECT_EQ(input.size(), 1U);
    pdata_compiler_clean_pdb(&input, nullptr);
    EXPECT_TRUE(input.empty());
}

TEST_F(compiler_files, host_order_in_any_input_counts_for_the_run)
{
    put_file("a", pdb_of({LOADABLE, DESCRIPTIONS}));
    put_file("b", pdb_of({TAGS, IN_HOST_ORDER}));
    pdb_in_list_t input;
    uint32_t network_endian = 1;
    ASSERT_EQ(outcome(pdata_compiler_fill_pdb_list("a;b;a", &input, &network_endian)), "0");
    EXPECT_EQ(network_endian, 0U);
    EXPECT_EQ(input.size(), 3U);
}

TEST_F(compiler_files, a_pdb_is_written_in_a_fixed_order)
{
    const pdb_list_t list = list_of({{PDB_TYPE_CFG, "0b 000001 'c 'o 'n 'f"},
                                     {PDB_TYPE_MAIN_HSTRING, STRINGS},
                                     {PDB_TYPE_TAGS, TAGS},
                                     {PDB_TYPE_MATCHER_ALIAS, ALIASES},
                                     {PDB_TYPE_PROTOCOL_DESCRIPTION, DESCRIPTIONS},
                                     {PDB_TYPE_LOAD, LOADABLE}});
    EXPECT_EQ(outcome(pdata_compiler_write_pdb(list, "out")), "0");
    EXPECT_EQ(get_bytes("out"), pdb_of({LOADABLE, DESCRIPTIONS, ALIASES, TAGS, STRINGS}));
}

TEST_F(compiler_files, of_a_pdb_only_the_descriptions_must_be_there)
{
    EXPECT_EQ(outcome(pdata_compiler_write_pdb(
                  list_of({{PDB_TYPE_PROTOCOL_DESCRIPTION, DESCRIPTIONS}}), "out")),
              "0");
    EXPECT_EQ(get_bytes("out"), bytes(DESCRIPTIONS));
    const pdb_list_t without = list_of({{PDB_TYPE_LOAD, LOADABLE}, {PDB_TYPE_TAGS, TAGS}});
    EXPECT_EQ(outcome(pdata_compiler_write_pdb(without, "out")),
              OUTCOME_IO ": Cannot write on filename out \n");
    EXPECT_EQ(get_bytes("out"), bytes(LOADABLE)) << "what was written stays";
    EXPECT_EQ(outcome(pdata_compiler_write_pdb({}, "out")),
              OUTCOME_IO ": Cannot write on filename out \n");
    EXPECT_EQ(get_bytes("out"), csa_buf_t{});
}

TEST_F(compiler_files, parts_behind_the_end_mark_are_not_written)
{
    pdb_list_t list = list_of({{PDB_TYPE_PROTOCOL_DESCRIPTION, DESCRIPTIONS},
                               {PDB_TYPE_TAGS, TAGS},
                               {PDB_TYPE_MAIN_HSTRING, STRINGS}});
    pdb_header_end(&list[1]);
    EXPECT_EQ(outcome(pdata_compiler_write_pdb(list, "out")), "0");
    EXPECT_EQ(get_bytes("out"), bytes(DESCRIPTIONS));
}

TEST_F(compiler_files, a_compiled_pdb_is_one_block)
{
    const pdb_list_t list = list_of({{PDB_TYPE_LOAD, "'a 'b 'c"}});
    EXPECT_EQ(outcome(pdata_compiler_write_pdb_loadable(list[0], "out")), "0");
    EXPECT_EQ(file_text("out"), "abc");
    EXPECT_EQ(outcome(pdata_compiler_write_pdb_loadable({}, "out")), "0");
    EXPECT_EQ(file_text("out"), "");
}

TEST_F(compiler_files, an_output_that_cannot_be_opened_is_reported)
{
    const pdb_list_t list = list_of({{PDB_TYPE_PROTOCOL_DESCRIPTION, DESCRIPTIONS}});
    EXPECT_EQ(outcome(pdata_compiler_write_pdb(list, "nowhere/x")),
              OUTCOME_IO ": Cannot open filename nowhere/x \n");
    EXPECT_EQ(outcome(pdata_compiler_write_pdb_loadable(list[0], ".")),
              OUTCOME_IO ": Cannot open filename . \n");
}

TEST_F(compiler_files, an_output_that_cannot_be_written_is_reported)
{
    const pdb_list_t list = list_of({{PDB_TYPE_PROTOCOL_DESCRIPTION, DESCRIPTIONS}});
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(outcome(pdata_compiler_write_pdb(list, "/dev/full")),
                            OUTCOME_IO ": Cannot write on filename /dev/full \n");
              }),
              "pdata_compiler: /dev/full: write: No space left on device\n");
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(outcome(pdata_compiler_write_pdb_loadable(list[0], "/dev/full")),
                            OUTCOME_IO ": Cannot write on filename /dev/full \n");
              }),
              "pdata_compiler: /dev/full: write: No space left on device\n");
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(outcome(write_text("/dev/full", "a")),
                            OUTCOME_IO ": Cannot write on filename /dev/full \n");
              }),
              "pdata_compiler: /dev/full: write: No space left on device\n");
}

TEST_F(compiler_files, cleaning_frees_the_inputs_and_the_output)
{
    put_file("a", pdb_of({DESCRIPTIONS, TAGS}));
    pdb_in_list_t input;
    uint32_t network_endian = 1;
    ASSERT_EQ(outcome(pdata_compiler_fill_pdb_list("a;a", &input, &network_endian)), "0");
    pdb_list_t out;
    pdb_header_memcpy(&out[0], input.front().pdb[0]);
    pdata_compiler_clean_pdb(&input, nullptr);
    EXPECT_EQ(part_bytes(out[0]), bytes(DESCRIPTIONS)) << "a borrowed part outlives its list";
    pdata_compiler_clean_pdb(&input, &out);
    EXPECT_EQ(out[0].pdb_tlv, nullptr);
    EXPECT_EQ(out[0].pdb_type, PDB_TYPE_END);
    pdata_compiler_clean_pdb(&input, &out);
}

} // namespace
