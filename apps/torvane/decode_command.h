#pragma once

namespace tv {

// torvane decode FILE.wav [-o OUT] [--seek SECONDS] [--info]
int RunDecodeCommand(int argc, char** argv);

} // namespace tv
