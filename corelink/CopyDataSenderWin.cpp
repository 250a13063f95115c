#include "corelink/CopyDataSenderWin.h"

bool SendCopyDataToCore(HWND target, HWND from, const BHOCopyData& record, UINT timeoutMs)
{
    BHOCopyData copy = record; // the message may not point into the caller's const data
    COPYDATASTRUCT data{};
    data.dwData = kCopyDataKind;
    data.cbData = sizeof copy;
    data.lpData = &copy;
    DWORD_PTR result = 0;
    return ::SendMessageTimeoutA(target, WM_COPYDATA, reinterpret_cast<WPARAM>(from), reinterpret_cast<LPARAM>(&data),
                                 SMTO_ABORTIFHUNG, timeoutMs, &result) != 0;
}
