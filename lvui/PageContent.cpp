#include "PageContent.h"

#include "lang/StringIds.h"

#include <cstdio>
#include <cstring>

namespace lvui
{
namespace
{
PageContent SaveLogin()
{
    PageContent page;
    page.title = IDS_SAVE_TITLE;
    page.showsDomain = true;
    page.note = IDS_SAVE_NOTE;
    page.buttons[0] = {IDS_SAVE, LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {IDS_NOT_NOW, LvUiActionNotNow, ButtonRole::Secondary, 0};
    page.buttons[2] = {IDS_ALWAYS_SAVE, LvUiActionAlwaysSave, ButtonRole::Quiet, 1};
    page.buttons[3] = {IDS_NEVER_SITE, LvUiActionNever, ButtonRole::Quiet, 1};
    page.buttonCount = 4;
    page.enterAction = LvUiActionOk;
    page.escapeAction = LvUiActionNotNow;
    return page;
}

PageContent UpdateLogin()
{
    PageContent page;
    page.title = IDS_UPDATE_TITLE;
    page.showsDomain = true;
    page.note = IDS_UPDATE_NOTE;
    page.buttons[0] = {IDS_UPDATE, LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {IDS_NOT_NOW, LvUiActionNotNow, ButtonRole::Secondary, 0};
    page.buttons[2] = {IDS_ALWAYS_UPDATE, LvUiActionAlwaysSave, ButtonRole::Quiet, 1};
    page.buttons[3] = {IDS_NEVER_SITE, LvUiActionNever, ButtonRole::Quiet, 1};
    page.buttonCount = 4;
    page.enterAction = LvUiActionOk;
    page.escapeAction = LvUiActionNotNow;
    return page;
}

PageContent Verification()
{
    PageContent page;
    page.title = IDS_VERIFY_TITLE;
    page.body = IDS_VERIFY_BODY;
    page.field = FieldKind::Text;
    page.fieldLabel = IDS_VERIFY_LABEL;
    // Whatever the user does here, the host sends the typed code to the core: one button, and Esc does nothing.
    page.buttons[0] = {IDS_CONFIRM, LvUiActionOk, ButtonRole::Primary, 0};
    page.buttonCount = 1;
    page.enterAction = LvUiActionOk;
    return page;
}

// No buttons: the page goes away when the verification ends, and Esc has nothing to report.
PageContent VerificationInProgress()
{
    PageContent page;
    page.title = IDS_PROGRESS_TITLE;
    page.progress = true;
    return page;
}

PageContent Discovery()
{
    PageContent page;
    page.title = IDS_DISCOVERY_TITLE;
    page.body = IDS_DISCOVERY_BODY;
    page.buttons[0] = {IDS_TURN_ON, LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {IDS_NOT_NOW, LvUiActionNotNow, ButtonRole::Secondary, 0};
    page.buttons[2] = {IDS_DONT_SHOW, LvUiActionNever, ButtonRole::Quiet, 1};
    page.buttonCount = 3;
    page.enterAction = LvUiActionOk;
    page.escapeAction = LvUiActionNotNow;
    return page;
}

PageContent Pin()
{
    PageContent page;
    page.title = IDS_PIN_TITLE;
    page.body = IDS_PIN_BODY;
    page.field = FieldKind::Pin;
    page.fieldLabel = IDS_PIN_LABEL;
    page.pinStatus = true;
    page.buttons[0] = {IDS_OK, LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {IDS_CANCEL, LvUiActionNotNow, ButtonRole::Secondary, 0};
    page.buttonCount = 2;
    page.enterAction = LvUiActionOk;
    page.escapeAction = LvUiActionNotNow;
    return page;
}

const PageContent kSaveLogin = SaveLogin();
const PageContent kVerification = Verification();
const PageContent kInProgress = VerificationInProgress();
const PageContent kDiscovery = Discovery();
const PageContent kUpdateLogin = UpdateLogin();
const PageContent kPin = Pin();
} // namespace

const PageContent* ContentFor(LvUiDialogKind kind, const char* page)
{
    if (kind == LvUiPinDialog)
        return &kPin;
    if (!page)
        return nullptr;
    if (std::strcmp(page, "1") == 0)
        return &kSaveLogin;
    if (std::strcmp(page, "2") == 0)
        return &kVerification;
    if (std::strcmp(page, "3") == 0)
        return &kInProgress;
    if (std::strcmp(page, "4") == 0)
        return &kDiscovery;
    if (std::strcmp(page, "5") == 0)
        return &kUpdateLogin;
    return nullptr;
}

std::string FormatStatusCode(DWORD code)
{
    std::string letters;
    for (int shift = 24; shift >= 0; shift -= 8)
    {
        const char letter = static_cast<char>((code >> shift) & 0xFF);
        if (letter < 0x20 || letter > 0x7E)
        {
            char hex[16];
            std::snprintf(hex, sizeof(hex), "0x%08lX", static_cast<unsigned long>(code));
            return hex;
        }
        letters += letter;
    }
    return letters;
}
} // namespace lvui
