/// The fixture of tests that read configuration documents and descriptions.
#pragma once

#include <gtest/gtest.h>

#include "json_error.h"
#include "json_tools.h"
#include "outcome.h"

/// Each test begins with an empty status slot and an empty report, and leaves neither a report nor
/// copied texts behind.
class document_test : public testing::Test
{
protected:
    document_test()
    {
        clear_status_slot();
        pragmar_err_clear();
    }
    ~document_test() override
    {
        string_list_clean();
        pragmar_err_clear();
    }
};
