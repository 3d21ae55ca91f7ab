/// The whole program, run inside a test.
#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "json_error.h"
#include "outcome.h"
#include "pdata_cfg.h"
#include "pdata_compiler.h"

/// Sends what the program prints nowhere while it lives. The streams are exchanged, which the C
/// library allows and which costs no call of the system; what a sanitizer says is not lost.
class silence
{
public:
    silence() : out(std::exchange(stdout, nowhere())), err(std::exchange(stderr, nowhere())) {}
    ~silence()
    {
        stdout = out;
        stderr = err;
    }
    silence(const silence &) = delete;
    silence &operator=(const silence &) = delete;

private:
    static std::FILE *nowhere()
    {
        static std::FILE *const file = std::fopen("/dev/null", "w");
        return file;
    }

    std::FILE *out;
    std::FILE *err;
};

/// A command line, made once: running it allocates nothing of its own.
class command_line
{
public:
    explicit command_line(std::vector<std::string> arguments) : words(std::move(arguments))
    {
        words.insert(words.begin(), "pdata_compiler");
        for (std::string &word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);
    }

    /// Runs the program and returns its exit code.
    int run() { return pdata_compiler_main(static_cast<int>(words.size()), pointers.data()); }

    /// Forgets what a run leaves behind in the process, which normally ends with it.
    static void forget_run()
    {
        pdata_cfg_unload(pdata_cfg_get(nullptr));
        pragmar_err_clear();
        clear_status_slot();
    }

private:
    std::vector<std::string> words;
    std::vector<char *> pointers;
};
