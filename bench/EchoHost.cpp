// The floor for the host's framing cost: a bare native messaging host that sends every frame back unchanged,
// reading the standard input the same way LVBHOHost does and writing each frame with one write to the output
// handle, as LVBHOHost does.

#include "FrameEcho.h"

int main()
{
    return EchoFrames([] {});
}
