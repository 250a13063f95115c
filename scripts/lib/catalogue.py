"""The commands the extension sends, each with the members it may carry and a typical value of each.

Shared by the fuzz seed generator and the hostile-input tests, which send every member with the wrong type.
"""

LOGIN_PAGE = {
    "DocumentTitle": "Example - Log in",
    "WebUrl": "https://www.example.com/login",
    "unamefield": "user",
    "passfieldname": "pwd",
}

COMMANDS = {
    "GetLang": {},
    "Identify": {"name": "chrome", "purpose": "Check"},
    "StoreLoginData": dict(LOGIN_PAGE, webPageUserId="alice", webPagepassword="s3cret", enrolluser=1),
    "CheckAndValidate": dict(LOGIN_PAGE, enrolluser=1, tabid="7"),
    "IsPageRemembered": {"WebUrl": "https://www.example.com/", "passfieldname": "pwd"},
    "RememberPwdWithoutPrompt": {},
    "SetRememberPwdWithoutPrompt": {},
    "SetNeverRememberPwd": {"WebUrl": "https://www.example.com/"},
    "SetPluginParam": {"strdevid": "44525655", "param": "123456"},
    "CancelOperation": {},
    "CheckSkipList": {"domain": "example.com"},
    "ShowPrompt": {"pagenum": 1, "domain": "mail.example.com", "url": "https://mail.example.com/", "tabid": "7"},
    "SetPromptPos": {"x": 100, "y": 80, "w": 420, "h": 300},
    "HidePrompt": {},
    "keyevent": {"vk": [65, 66], "sleep": 0},
}

# Values of every JSON type; each member is sent with each type it does not have.
TYPED_VALUES = {
    "string": "x",
    "int": 7,
    "negative": -1,
    "large": 2**40,
    "real": 1.5,
    "bool": True,
    "null": None,
    "array": [1, "a"],
    "object": {"a": 1},
}


def type_name(value):
    if isinstance(value, bool):
        return "bool"
    if value is None:
        return "null"
    if isinstance(value, int):
        return "int"
    if isinstance(value, float):
        return "real"
    if isinstance(value, str):
        return "string"
    if isinstance(value, list):
        return "array"
    return "object"


def converts(value, wanted):
    """Whether the JSON library reads `value` as the type of `wanted` (a text or an integer) without failing: any
    scalar is a text; a number in range, a truth value and null are integers; lists and objects are neither."""
    kind = type_name(value)
    if kind in ("array", "object"):
        return False
    if type_name(wanted) == "string":
        return True
    if kind == "string":
        return False
    return not (kind == "int" and not -2**31 <= value < 2**31)


def wrong_types(command):
    """(member, value) pairs: each member of `command`, plus "command" and "id", with each type it does not have."""
    members = dict(COMMANDS[command], command=command, id=1)
    for member, good in members.items():
        for name, value in TYPED_VALUES.items():
            if type_name(value) != type_name(good) and not (name in ("negative", "large") and type_name(good) == "int"):
                yield member, value
