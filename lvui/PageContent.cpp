#include "PageContent.h"

#include <cstdio>
#include <cstring>

namespace lvui
{
namespace
{
PageContent SaveLogin()
{
    PageContent page;
    page.title = "Save this login to Lumivar?";
    page.showsDomain = true;
    page.note = "Encrypted in your vault. Only you can unlock it.";
    page.buttons[0] = {"Save", LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {"Not now", LvUiActionNotNow, ButtonRole::Secondary, 0};
    page.buttons[2] = {"Always save here", LvUiActionAlwaysSave, ButtonRole::Quiet, 1};
    page.buttons[3] = {"Never for this site", LvUiActionNever, ButtonRole::Quiet, 1};
    page.buttonCount = 4;
    page.enterAction = LvUiActionOk;
    page.escapeAction = LvUiActionNotNow;
    return page;
}

PageContent UpdateLogin()
{
    PageContent page;
    page.title = "Update the saved login?";
    page.showsDomain = true;
    page.note = "Lumivar will keep the new password for this site.";
    page.buttons[0] = {"Update", LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {"Not now", LvUiActionNotNow, ButtonRole::Secondary, 0};
    page.buttons[2] = {"Always update here", LvUiActionAlwaysSave, ButtonRole::Quiet, 1};
    page.buttons[3] = {"Never for this site", LvUiActionNever, ButtonRole::Quiet, 1};
    page.buttonCount = 4;
    page.enterAction = LvUiActionOk;
    page.escapeAction = LvUiActionNotNow;
    return page;
}

PageContent Verification()
{
    PageContent page;
    page.title = "Verification needed";
    page.body = "To continue, type the verification code you were given.";
    page.field = FieldKind::Text;
    // Whatever the user does here, the host sends the typed code to the core: one button, and Esc does nothing.
    page.buttons[0] = {"Confirm", LvUiActionOk, ButtonRole::Primary, 0};
    page.buttonCount = 1;
    page.enterAction = LvUiActionOk;
    return page;
}

// No buttons: the page goes away when the verification ends, and Esc has nothing to report.
PageContent VerificationInProgress()
{
    PageContent page;
    page.title = "Verifying this device";
    page.progress = true;
    return page;
}

PageContent Discovery()
{
    PageContent page;
    page.title = "Turn on login discovery?";
    page.body = "Lumivar can offer to save your login whenever you sign in to a new site.";
    page.buttons[0] = {"Turn on", LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {"Not now", LvUiActionNotNow, ButtonRole::Secondary, 0};
    page.buttons[2] = {"Don't show again", LvUiActionNever, ButtonRole::Quiet, 1};
    page.buttonCount = 3;
    page.enterAction = LvUiActionOk;
    page.escapeAction = LvUiActionNotNow;
    return page;
}

PageContent Pin()
{
    PageContent page;
    page.title = "Enter your PIN";
    page.body = "Lumivar needs your PIN to finish verifying this device.";
    page.field = FieldKind::Pin;
    page.pinStatus = true;
    page.buttons[0] = {"OK", LvUiActionOk, ButtonRole::Primary, 0};
    page.buttons[1] = {"Cancel", LvUiActionNotNow, ButtonRole::Secondary, 0};
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
