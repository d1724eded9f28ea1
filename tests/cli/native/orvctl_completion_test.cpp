#include <cstdlib>

#include "cli/native/shell.h"
#include "cli/orvctl_program.h"

namespace orv::cli {
namespace {

TEST(CommandLine, BashCompletionOffersCommandsAndOptions) {
  const ProgramOnMachine program;
  WriteText(program.File("script"), program.Run({"completion", "bash"}).output);
  const auto complete = [&](const std::string& words, int position) {
    const auto output = program.File("words");
    const std::string line = ". " + program.File("script") + "; COMP_WORDS=(" + words +
                             "); COMP_CWORD=" + std::to_string(position) +
                             "; _orvctl; echo \"${COMPREPLY[@]}\" >" + output;
    EXPECT_EQ(std::system(("bash -c " + Quoted(line)).c_str()), 0);
    return FileText(output);
  };
  EXPECT_EQ(complete("orvctl endp", 1), "endpoints\n");
  EXPECT_EQ(complete("orvctl --json image ''", 3).find("decode encode"), 0U);
  EXPECT_EQ(complete("orvctl load 0 file --d", 4), "--dry-run\n");
}

}  // namespace
}  // namespace orv::cli
