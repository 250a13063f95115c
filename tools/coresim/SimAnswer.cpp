#include "tools/coresim/SimAnswer.h"

#include "corelink/SharedData.h"

namespace
{
SimAnswer AnswerIsKnown(const SimBlockView& request, const CSimVault& vault)
{
    const SimLogin* login = vault.Find(request.requestKey);
    const bool known = login && (request.requestUser.empty() || login->user == request.requestUser);
    SimAnswer answer;
    answer.flags = (known ? kFlagAnswerYes : 0) | (request.flags & kFlagValidating);
    return answer;
}

SimAnswer AnswerStore(const SimBlockView& request, CSimVault& vault)
{
    SimAnswer answer;
    answer.flags = request.flags & kFlagValidating;
    SimLogin login;
    if (request.requestKey.empty() || !ParseLoginScript(request.fieldScript, request.values, login))
        return answer;
    vault.Store(request.requestKey, login);
    answer.flags |= kFlagAnswerYes;
    answer.vaultChanged = true;
    return answer;
}

SimAnswer AnswerLookUp(const SimBlockView& request, const SimSettings& settings, const CSimVault& vault)
{
    SimAnswer answer;
    if (const SimLogin* login = vault.Find(request.requestKey))
    {
        answer.result = kResultFillScript;
        answer.writeFill = true;
        answer.fill = BuildFillScript(*login);
        return answer;
    }
    if (settings.miss == SimMiss::Fail)
        return answer;
    answer.result = settings.missResult;
    answer.flags = request.flags | kFlagCancellable;
    answer.setHostContext = true;
    return answer;
}
} // namespace

SimAnswer AnswerRequest(const SimBlockView& request, SimSettings& settings, CSimVault& vault)
{
    SimAnswer answer;
    switch (request.requestCode)
    {
    case kRequestIsKnown:
        answer = AnswerIsKnown(request, vault);
        break;
    case kRequestStore:
        answer = AnswerStore(request, vault);
        break;
    case kRequestLookUp:
        answer = AnswerLookUp(request, settings, vault);
        break;
    case kRequestNoPromptQuery:
        answer.flags = request.flags;
        answer.result = settings.noPrompt ? kResultNoPrompt : 0;
        break;
    case kRequestNoPromptOn:
        answer.flags = request.flags;
        answer.settingsChanged = !settings.noPrompt;
        settings.noPrompt = true;
        break;
    case kRequestCancel:
        answer.flags = request.flags & ~kFlagCancellable;
        break;
    default:
        answer.flags = request.flags;
        break;
    }
    // Every answer carries the enrolment state, so that the host may read it from the block at any time.
    if (settings.notEnrolled)
        answer.flags |= kFlagNotEnrolled;
    else
        answer.flags &= ~kFlagNotEnrolled;
    return answer;
}
