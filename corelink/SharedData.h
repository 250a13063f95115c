#pragma once
// The wire layouts and names shared with the core process. The host and the stand-in core (tools/coresim) both
// include this header; every size and offset is pinned below, because the core reads the same bytes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#pragma pack(push, 1)

// The shared block: a file mapping of 5428 bytes, guarded by the block mutex. Strings are NUL-terminated ANSI.
struct BHOSharedData
{
    std::uint64_t hostContext; // filled by the core with its window when it leaves a validation pending
    std::uint64_t hostWindow;  // the host window the core answers to, written with each request
    char field0[260];          // zeroed at reset, not written by the host
    char requestUser[260];     // user name of the current save or validate request
    char requestKey[260];      // site key of the current request
    char field3[260];          // never touched by the host, not even at reset
    char requestDisplay[260];  // display name of the login
    char fieldScript[2048];    // the field script: tag tokens joined by "+"
    char valueScript[2048];    // the value list: NUL-terminated strings back to back
    std::uint32_t valueCount;  // number of strings in valueScript
    std::uint32_t flags;       // kFlag* bits
    std::uint32_t requestCode; // the request now posted; 1 after reset
    std::uint32_t result;      // the core's answer; kResultPending while open
};

// The WM_COPYDATA record exchanged with the core (dwData 1, cbData 788).
struct BHOCopyData
{
    std::uint32_t devId;
    char strDevId[260];
    char message[260];
    std::uint32_t status;
    char text2[260];
};

#pragma pack(pop)

static_assert(sizeof(BHOSharedData) == 5428, "layout shared with the core");
static_assert(offsetof(BHOSharedData, hostContext) == 0, "layout shared with the core");
static_assert(offsetof(BHOSharedData, hostWindow) == 8, "layout shared with the core");
static_assert(offsetof(BHOSharedData, field0) == 16, "layout shared with the core");
static_assert(offsetof(BHOSharedData, requestUser) == 276, "layout shared with the core");
static_assert(offsetof(BHOSharedData, requestKey) == 536, "layout shared with the core");
static_assert(offsetof(BHOSharedData, field3) == 796, "layout shared with the core");
static_assert(offsetof(BHOSharedData, requestDisplay) == 1056, "layout shared with the core");
static_assert(offsetof(BHOSharedData, fieldScript) == 1316, "layout shared with the core");
static_assert(offsetof(BHOSharedData, valueScript) == 3364, "layout shared with the core");
static_assert(offsetof(BHOSharedData, valueCount) == 5412, "layout shared with the core");
static_assert(offsetof(BHOSharedData, flags) == 5416, "layout shared with the core");
static_assert(offsetof(BHOSharedData, requestCode) == 5420, "layout shared with the core");
static_assert(offsetof(BHOSharedData, result) == 5424, "layout shared with the core");

static_assert(sizeof(BHOCopyData) == 788, "layout shared with the core");
static_assert(offsetof(BHOCopyData, devId) == 0, "layout shared with the core");
static_assert(offsetof(BHOCopyData, strDevId) == 4, "layout shared with the core");
static_assert(offsetof(BHOCopyData, message) == 264, "layout shared with the core");
static_assert(offsetof(BHOCopyData, status) == 524, "layout shared with the core");
static_assert(offsetof(BHOCopyData, text2) == 528, "layout shared with the core");

// The two handshake words, `requestCode` and `result`, are written without the block mutex where the core expects
// it (a cancel, a failed wait), and the host's two threads both ring the core (the prompt cancels from the UI
// thread). Inside the host they are therefore always read and written whole, as atomics. Both lie on 4-byte
// boundaries of the page-aligned mapping.
enum class HandshakeWord : std::size_t
{
    RequestCode = offsetof(BHOSharedData, requestCode),
    Result = offsetof(BHOSharedData, result),
};
static_assert(offsetof(BHOSharedData, requestCode) % 4 == 0 && offsetof(BHOSharedData, result) % 4 == 0,
              "the handshake words are aligned in the mapping");

inline std::uint32_t* HandshakeAddress(BHOSharedData& block, HandshakeWord word)
{
    return reinterpret_cast<std::uint32_t*>(reinterpret_cast<char*>(&block) + static_cast<std::size_t>(word));
}
inline std::uint32_t LoadHandshake(const BHOSharedData& block, HandshakeWord word)
{
    const auto* address =
        reinterpret_cast<const std::uint32_t*>(reinterpret_cast<const char*>(&block) + static_cast<std::size_t>(word));
    return __atomic_load_n(address, __ATOMIC_SEQ_CST);
}
inline void StoreHandshake(BHOSharedData& block, HandshakeWord word, std::uint32_t value)
{
    __atomic_store_n(HandshakeAddress(block, word), value, __ATOMIC_SEQ_CST);
}

// The block as its creator initialises it (the caller holds the block mutex): both handles 0, the texts and the
// script empty, no request open, request code 1. `field3` is the core's and keeps its bytes.
inline void ResetBlockFields(BHOSharedData& block)
{
    block.hostContext = 0;
    block.hostWindow = 0;
    std::memset(block.field0, 0, sizeof block.field0);
    std::memset(block.requestKey, 0, sizeof block.requestKey);
    std::memset(block.requestDisplay, 0, sizeof block.requestDisplay);
    std::memset(block.requestUser, 0, sizeof block.requestUser);
    std::memset(block.fieldScript, 0, sizeof block.fieldScript);
    std::memset(block.valueScript, 0, sizeof block.valueScript);
    block.valueCount = 0;
    StoreHandshake(block, HandshakeWord::Result, 0xFFFFFFFF);
    block.flags = 0;
    StoreHandshake(block, HandshakeWord::RequestCode, 1);
}

// The one way text goes into a fixed field of the block or of a copy-data record: up to its first NUL, cut to
// size - 1 bytes, always ending in NUL. A field is never overrun, and nothing past a NUL is smuggled in.
inline void SetField(char* field, std::size_t size, const std::string& text)
{
    const void* nul = std::memchr(text.data(), '\0', text.size());
    const std::size_t length =
        std::min(nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text.data()) : text.size(), size - 1);
    std::memcpy(field, text.data(), length);
    field[length] = '\0';
}
template <std::size_t N>
void SetField(char (&field)[N], const std::string& text)
{
    SetField(field, N, text);
}

// The one way text comes out of a fixed field: up to its first NUL, or all `size` bytes when the other side left
// none.
inline std::string FieldText(const char* field, std::size_t size)
{
    const void* end = std::memchr(field, '\0', size);
    return std::string(field, end ? static_cast<std::size_t>(static_cast<const char*>(end) - field) : size);
}
template <std::size_t N>
std::string FieldText(const char (&field)[N])
{
    return FieldText(field, N);
}

inline constexpr std::size_t kSharedFieldSize = 260;
inline constexpr std::size_t kSharedScriptSize = 2048;
inline constexpr std::uint32_t kCopyDataKind = 1; // COPYDATASTRUCT::dwData

// Bits of BHOSharedData::flags.
inline constexpr std::uint32_t kFlagAnswerYes = 0x01;   // the core's yes/no answer to a save or validate request
inline constexpr std::uint32_t kFlagNotEnrolled = 0x04; // the user is not enrolled with the core
inline constexpr std::uint32_t kFlagValidating = 0x08;  // set by the host while a user validation runs
inline constexpr std::uint32_t kFlagCancellable = 0x20; // a request is open and may be cancelled

inline constexpr std::uint32_t kResultPending = 0xFFFFFFFF;
inline constexpr std::uint32_t kResultFillScript = 2;   // the core left a fill script in the block
inline constexpr std::uint32_t kResultNoPrompt = 12;    // answer to request 9: remember without a prompt
inline constexpr std::uint32_t kResultVaultSelect = 13; // a pending validation that needs a vault choice

// Request codes.
inline constexpr std::uint32_t kRequestIsKnown = 1;
inline constexpr std::uint32_t kRequestStore = 2;
inline constexpr std::uint32_t kRequestIdle = 5; // recorded only; rings no event
inline constexpr std::uint32_t kRequestCancel = 6;
inline constexpr std::uint32_t kRequestLookUp = 8;
inline constexpr std::uint32_t kRequestNoPromptQuery = 9;
inline constexpr std::uint32_t kRequestNoPromptOn = 10;

// The events, in the order they are created.
enum class CoreEvent
{
    RequestA,
    RequestB,
    RequestC,
    RequestD,
    Complete,
    RequestE,
    ValidationDenied,
    ValidationGranted,
    ValidationAcknowledge,
};
inline constexpr int kCoreEventCount = 9;

struct CoreEventName
{
    CoreEvent event;
    const char* name;
    bool manualReset;
    bool initiallySet;
};
inline constexpr CoreEventName kCoreEvents[kCoreEventCount] = {
    {CoreEvent::RequestA, "C4306315-A69B-43fb-8D08-723F5C805457", true, false},
    {CoreEvent::RequestB, "A06E4D11-615D-4c97-A204-2ED6A0ADED9D", true, false},
    {CoreEvent::RequestC, "BC1C7794-A061-4ef3-9F3C-8211FE6D0D78", true, false},
    {CoreEvent::RequestD, "F8DAB150-E922-4f50-895B-58F549F71FC4", true, false},
    {CoreEvent::Complete, "045EA251-2270-461f-AEE0-441D2522CFBD", true, true},
    {CoreEvent::RequestE, "B7535296-6C19-47b3-99E1-6302D1640BDB", false, false},
    {CoreEvent::ValidationDenied, "40B8E5BA-C3FC-485B-A148-9CF90506E916", false, false},
    {CoreEvent::ValidationGranted, "641929A5-013D-4EAD-9924-00B81BA7450E", false, false},
    {CoreEvent::ValidationAcknowledge, "CDDE78B8-B5A5-43FA-A2E4-1113BC1F72ED", false, false},
};

// The request event a code rings; false for codes that ring none (5 and anything outside 1 to 10).
constexpr bool RequestEventFor(std::uint32_t code, CoreEvent& event)
{
    switch (code)
    {
    case 1:
        event = CoreEvent::RequestA;
        return true;
    case 2:
        event = CoreEvent::RequestC;
        return true;
    case 3:
    case 4:
    case 9:
    case 10:
        event = CoreEvent::RequestD;
        return true;
    case 6:
        event = CoreEvent::RequestE;
        return true;
    case 7:
    case 8:
        event = CoreEvent::RequestB;
        return true;
    default:
        return false;
    }
}

inline constexpr const char* kSharedBlockName = "963C5929-70EE-4d11-BE2C-D5CE974EDF28";
inline constexpr const char* kBlockMutexName = "Local\\A0064970-BE57-4b33-AB38-04F772CF76A1";

// The core's message window, found with FindWindowA.
inline constexpr const char* kCoreWindowClass = "LvMainWnd-36040A23-789A-4721-9F61-A5A4DB0F7D79";
inline constexpr const char* kCoreWindowTitle = "MsgWnd";
// The class of the host's message window.
inline constexpr const char* kHostWindowClass = "LVBHOHOST-0724A61F-4EDA-49AB-936F-C09A46FA9177";

inline constexpr const char* kCoreProcessName = "LvEngine.exe";
inline constexpr const char* kGuardProcessName = "LvGuard.exe";

// Registered window message names, each registered with RegisterWindowMessageA.
inline constexpr const char* kMsgCopyData = "MSG_WM_COPY_DATA";
inline constexpr const char* kMsgAutoFill = "MSG_AUTO_FILL";
inline constexpr const char* kMsgDoValidateUser = "LumivarDoValidateUser";
inline constexpr const char* kMsgExtensionInstalled = "ExtensionInstalled";
inline constexpr const char* kMsgUpdateMsg = "MSG_UPDATE_MSG";
inline constexpr const char* kMsgProcessPromptUi = "MSG_WM_PROCESSPROMPTUI";
inline constexpr const char* kMsgShowPrompt = "MSG_WM_SHOWPROMPT";
inline constexpr const char* kMsgInitPromptUi = "MSG_WM_INTITPROMPTUI"; // spelled so by the core
inline constexpr const char* kMsgHidePrompt = "MSG_WM_HIDEPROMPT";
inline constexpr const char* kMsgSetPromptPos = "MSG_WM_SETPROMPTPOS";
inline constexpr const char* kMsgSetTabInfo = "MSG_WM_SETTABINFO";
inline constexpr const char* kMsgCoreWakeUp = "E07DAB3C-E0BE-4D12-8F46-8A5B4B1B190C";
