// Subcommands of the kvs tool. Each takes the arguments after its name and
// returns the process exit status; errors are printed as one line on stderr.
#pragma once

namespace kvs {

int runInfo(int argc, char** argv);
int runCompile(int argc, char** argv);
int runRender(int argc, char** argv);

} // namespace kvs
