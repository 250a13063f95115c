#pragma once
// What each page says and offers, as data: the surface builds its controls from it. Texts are string ids of the
// catalogue (lang/StringIds.h); 0 is no text.

#include "include/LvUi.h"

#include <string>

namespace lvui
{
enum class ButtonRole
{
    Primary,   // filled; the one Enter chooses
    Secondary, // outlined
    Quiet,     // text only, for the less common choices
};

struct PageButton
{
    UINT label;
    int action; // LvUiAction
    ButtonRole role;
    int row; // rows are laid out top to bottom, the buttons of a row side by side
};

enum class FieldKind
{
    None,
    Text,
    Pin, // masked
};

struct PageContent
{
    static constexpr int kMaxButtons = 4;

    UINT title = 0;
    bool showsDomain = false; // the dialog's text, in a box of its own
    UINT body = 0;            // explanation, may wrap
    UINT note = 0;            // small reassurance line under the domain
    bool progress = false;    // the waiting indicator with the status text and code
    FieldKind field = FieldKind::None;
    UINT fieldLabel = 0;    // the field's name, shown above it
    bool pinStatus = false; // room for "Wrong PIN" under the field
    PageButton buttons[kMaxButtons] = {};
    int buttonCount = 0;
    int enterAction = 0;  // the default button's action
    int escapeAction = 0; // 0: Esc does nothing
};

// The content of the prompt's `page` ("1" to "5"), or of the PIN dialog (any page). Null for an unknown page.
const PageContent* ContentFor(LvUiDialogKind kind, const char* page);

// A status code as page "3" shows it: its four bytes as letters when all are printable ASCII, most significant
// first (0x44525675 is "DRVu"), else in hex ("0x0000002A").
std::string FormatStatusCode(DWORD code);
} // namespace lvui
