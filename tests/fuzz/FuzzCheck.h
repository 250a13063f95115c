#pragma once
// What the fuzz targets share: a check that stops the run with a message when a property of the code under test
// does not hold, so that libFuzzer keeps the input that broke it.

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(condition)                                                                                         \
    do                                                                                                                \
    {                                                                                                                 \
        if (!(condition))                                                                                             \
        {                                                                                                             \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition);                       \
            std::abort();                                                                                             \
        }                                                                                                             \
    } while (false)
