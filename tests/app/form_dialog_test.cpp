// The option form: a real number box that the user leaves alone gives back exactly the value
// it was filled with, so that taking a dialog as offered changes nothing in the field.
#include <gtest/gtest.h>

#include "app/form_dialog.h"

namespace kurvalux_app {
namespace {

TEST(FormDialog, AnUntouchedRealBoxGivesBackItsValue) {
    const struct {
        const char* name;
        double value;
        const char* typed;  // null: left alone
        double expected;
    } cases[] = {
        // A value read from a field file, one unit in the last place off the decimal one: the
        // box shows "0.12", which reads back as the neighbouring double.
        {"file value untouched", 0.12000000000000001, nullptr, 0.12000000000000001},
        {"a third untouched", 1.0 / 3, nullptr, 1.0 / 3},
        {"JD untouched", 2459000.1234567891, nullptr, 2459000.1234567891},
        // A changed text is read as typed.
        {"new value", 0.12000000000000001, "0.1", 0.1},
        {"more digits", 0.12000000000000001, "0.120", 0.12},
    };
    for (const auto& c : cases) {
        CFormDialog dialog("Test");
        dialog.AddReal("Value:", c.value);
        if (c.typed) dialog.SetBoxText("Value:", c.typed);
        EXPECT_EQ(dialog.Real("Value:"), c.expected) << c.name;
    }
}

}  // namespace
}  // namespace kurvalux_app
