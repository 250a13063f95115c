#include "corelink/SecurityWin.h"

#include <aclapi.h>
#include <sddl.h>

int InitNullDaclAttributes(SECURITY_ATTRIBUTES& attributes, SECURITY_DESCRIPTOR& descriptor)
{
    if (!::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION))
        return 0;
    if (!::SetSecurityDescriptorDacl(&descriptor, TRUE, nullptr, FALSE))
        return 0;
    attributes.nLength = sizeof attributes;
    attributes.lpSecurityDescriptor = &descriptor;
    attributes.bInheritHandle = TRUE;
    return 1;
}

SECURITY_ATTRIBUTES* ProcessSecurityAttributes()
{
    struct Attributes
    {
        SECURITY_ATTRIBUTES attributes{};
        SECURITY_DESCRIPTOR descriptor{};
        bool built = InitNullDaclAttributes(attributes, descriptor) != 0;
    };
    static Attributes process;
    return process.built ? &process.attributes : nullptr;
}

int SetLowIntegrityLabel(HANDLE handle, SE_OBJECT_TYPE type)
{
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(L"S:(ML;;NW;;;LW)", SDDL_REVISION_1, &descriptor,
                                                                nullptr))
        return 0;
    int labelled = 0;
    PACL sacl = nullptr;
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    if (::GetSecurityDescriptorSacl(descriptor, &present, &sacl, &defaulted))
        labelled = ::SetSecurityInfo(handle, type, LABEL_SECURITY_INFORMATION, nullptr, nullptr, nullptr, sacl) ==
                           ERROR_SUCCESS
                       ? 1
                       : 0;
    ::LocalFree(descriptor);
    return labelled;
}
