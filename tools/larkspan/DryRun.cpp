#include "tools/larkspan/DryRun.h"

#include "tools/larkspan/JsonOutput.h"

namespace Tool {

void PrintStep(const char* action, const Vx::UniString& name, bool isFolder, const Console& console,
               StandardOutput& output) {
  if (console.IsJson()) {
    JsonObject object("step");
    object.Put("action", action).PutText("name", name.GetView()).Put("isFolder", isFolder);
    output.Print(object.ToLine());
    return;
  }
  output.PrintName(std::string(action) + " ", name.GetView(), isFolder ? "/" : "");
}

}  // namespace Tool
