#include "corelink/SecurityWin.h"

#include "framework/Unique.h"

#include <gtest/gtest.h>

TEST(SecurityWinTest, NullDaclAttributesAreInheritable)
{
    SECURITY_ATTRIBUTES attributes{};
    SECURITY_DESCRIPTOR descriptor{};

    ASSERT_EQ(1, InitNullDaclAttributes(attributes, descriptor));

    EXPECT_EQ(24u, attributes.nLength);
    EXPECT_EQ(&descriptor, attributes.lpSecurityDescriptor);
    EXPECT_TRUE(attributes.bInheritHandle);
    BOOL present = FALSE;
    BOOL defaulted = TRUE;
    PACL dacl = reinterpret_cast<PACL>(1);
    ASSERT_TRUE(::GetSecurityDescriptorDacl(&descriptor, &present, &dacl, &defaulted));
    EXPECT_TRUE(present);
    EXPECT_EQ(nullptr, dacl);
}

TEST(SecurityWinTest, AnObjectMadeWithTheAttributesCanBeOpenedByName)
{
    SECURITY_ATTRIBUTES attributes{};
    SECURITY_DESCRIPTOR descriptor{};
    ASSERT_EQ(1, InitNullDaclAttributes(attributes, descriptor));

    CHandle mutex(::CreateMutexA(&attributes, FALSE, "Local\\LvbhoSecurityWinTest"));
    CHandle opened(::OpenMutexA(SYNCHRONIZE, FALSE, "LvbhoSecurityWinTest"));

    EXPECT_TRUE(mutex.IsValid());
    EXPECT_TRUE(opened.IsValid());
}

TEST(SecurityWinTest, LabellingAKernelObjectReportsSuccess)
{
    CHandle event(::CreateEventA(nullptr, TRUE, FALSE, "LvbhoSecurityWinTestEvent"));

    EXPECT_EQ(1, SetLowIntegrityLabel(event.Get(), SE_KERNEL_OBJECT));
}
