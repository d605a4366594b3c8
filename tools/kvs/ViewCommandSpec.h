// The command line of `kvs view`, shared by kvs, which hands the command to
// the viewer's executable, and by that executable, which runs it.
#pragma once

#include "tools/kvs/Cli.h"

namespace kvs {

// `view` with its operands, options and help, run by `run`.
CommandSpec viewCommand(int (*run)(const ParsedArgs& args));

} // namespace kvs
