#pragma once
// The identifiers of the dialogs' texts. Every catalogue (lvui/lang/<Language>.rc) has every one of them, with the
// same placeholders as English ("%1" in IDS_STATUS_CODE). Kept free of C++ so that windres reads it too.

#define IDS_SAVE_TITLE 1000
#define IDS_SAVE_NOTE 1001
#define IDS_SAVE 1002
#define IDS_NOT_NOW 1003
#define IDS_ALWAYS_SAVE 1004
#define IDS_NEVER_SITE 1005
#define IDS_UPDATE_TITLE 1006
#define IDS_UPDATE_NOTE 1007
#define IDS_UPDATE 1008
#define IDS_ALWAYS_UPDATE 1009
#define IDS_VERIFY_TITLE 1010
#define IDS_VERIFY_BODY 1011
#define IDS_VERIFY_LABEL 1012
#define IDS_CONFIRM 1013
#define IDS_PROGRESS_TITLE 1014
#define IDS_PROGRESS_WAITING 1015
#define IDS_STATUS_CODE 1016
#define IDS_DISCOVERY_TITLE 1017
#define IDS_DISCOVERY_BODY 1018
#define IDS_TURN_ON 1019
#define IDS_DONT_SHOW 1020
#define IDS_PIN_TITLE 1021
#define IDS_PIN_BODY 1022
#define IDS_PIN_LABEL 1023
#define IDS_OK 1024
#define IDS_CANCEL 1025
#define IDS_WRONG_PIN 1026

// One past the last: the catalogue test and the loader walk IDS_FIRST..IDS_END - 1.
#define IDS_FIRST 1000
#define IDS_END 1027
