#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>

namespace GenTL::internal
{

/// A locale with a decimal comma, for the life of this object. The build makes it in the folder QVR_LOCALES.
class DecimalComma
{
public:
    DecimalComma()
    {
        setenv("LOCPATH", QVR_LOCALES, 1);
        EXPECT_NE(std::setlocale(LC_ALL, "de_DE.ISO-8859-1"), nullptr);
        EXPECT_STREQ(std::localeconv()->decimal_point, ",");
    }
    DecimalComma(const DecimalComma &) = delete;
    DecimalComma &operator=(const DecimalComma &) = delete;
    ~DecimalComma() { std::setlocale(LC_ALL, "C"); }
};

} // namespace GenTL::internal
