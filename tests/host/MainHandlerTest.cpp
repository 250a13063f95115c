#include "host/MainHandler.h"

#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/StringStreams.h"

#include <gtest/gtest.h>

TEST(MainHandlerTest, AnswersGetLangInTheUserInterfaceLanguage)
{
    CMemoryRegistry registry;
    CFakeLogSink sink;
    CDebugLog log(sink);
    CStringSource input(Frame("{\"command\":\"GetLang\",\"id\":1}"));
    CStringSink output;
    MessagingEnvironment environment{registry, log, input, output, 0x0407};
    ProcessValues values;

    MainHandler(environment, values);

    EXPECT_EQ("German", values.languageName);
    EXPECT_EQ(Frame("{\"CommandError\":0,\"CommandErrorMsg\":\"success\",\"Lang\":\"German\",\"command\":\"GetLang\","
                    "\"id\":1}"),
              output.Bytes());
}

TEST(MainHandlerTest, OpensTheLogUnderTheHostsName)
{
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;3");
    CFakeLogSink sink;
    CDebugLog log(sink);
    CStringSource input("");
    CStringSink output;
    MessagingEnvironment environment{registry, log, input, output, 0x0409};
    ProcessValues values;

    MainHandler(environment, values);

    EXPECT_TRUE(log.Enabled(3));
    EXPECT_EQ("C:\\TEMP\\LVBHOHost.txt", log.FilePath());
}
