#include <afx.h>

#include <gtest/gtest.h>

#include <string>

namespace {

struct Fields {
    int year, month, day, hour, minute, second;
};

std::string Shown(const Fields& f) {
    const CTime time(f.year, f.month, f.day, f.hour, f.minute, f.second);
    return time.Format("%Y-%m-%d %H:%M:%S").GetString();
}

/// Whether the constructor refuses the fields with one of the framework's exceptions.
bool Refuses(const Fields& f) {
    try {
        const CTime time(f.year, f.month, f.day, f.hour, f.minute, f.second);
        return false;
    } catch (CException* refused) {
        refused->Delete();
        return true;
    }
}

TEST(Time, ReturnsToItsCalendarFields) {
    EXPECT_EQ(Shown({2024, 5, 6, 7, 8, 9}), "2024-05-06 07:08:09");
    EXPECT_EQ(Shown({1999, 12, 31, 23, 59, 59}), "1999-12-31 23:59:59");
    EXPECT_EQ(Shown({2040, 1, 1, 0, 0, 0}), "2040-01-01 00:00:00");  // beyond 32 bits of seconds
    // A day that its month lacks is the day that the calendar makes of it.
    EXPECT_EQ(Shown({2024, 2, 30, 12, 0, 0}), "2024-03-01 12:00:00");
}

TEST(Time, RefusesFieldsOutOfRange) {
    for (const Fields& fields :
         {Fields{1969, 1, 1, 0, 0, 0}, Fields{2024, 0, 1, 0, 0, 0}, Fields{2024, 13, 1, 0, 0, 0},
          Fields{2024, 1, 0, 0, 0, 0}, Fields{2024, 1, 32, 0, 0, 0}, Fields{2024, 1, 1, 24, 0, 0},
          Fields{2024, 1, 1, 0, 60, 0}, Fields{2024, 1, 1, 0, 0, 60},
          Fields{2024, 1, 1, 0, 0, -1}}) {
        EXPECT_TRUE(Refuses(fields))
            << fields.year << ' ' << fields.month << ' ' << fields.day << ' ' << fields.hour << ' '
            << fields.minute << ' ' << fields.second;
    }
    EXPECT_FALSE(Refuses({2024, 12, 31, 23, 59, 59}));
}

}  // namespace
