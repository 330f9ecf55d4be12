#include "tools/larkspan/FileTreeWriter.h"

#include "Larkspan/Archive/TreeFacts.h"
#include "tools/larkspan/HeaderArguments.h"

namespace Tool {

namespace Archive = Larkspan::Common::IO;

FileTreeWriter::FileTreeWriter(const FileTree& files, Console& messages,
                               Archive::ArchiveOBinaryChannel& archive,
                               const std::string& methodName, unsigned int jobs)
    : tree(files),
      console(messages),
      writer(archive, jobs),
      method(methodName == "stored" ? Archive::ArchiveEntry::Stored
                                    : Archive::ArchiveEntry::Deflated),
      timeHeader(Larkspan::Archive::TreeFacts::TimeHeader),
      modeHeader(Larkspan::Archive::TreeFacts::ModeHeader) {}

void FileTreeWriter::Add(const FileTree::Item& item) {
  if (item.isStandardInput) {
    InputFile input(console.GetProgress());
    Add(item, input);
    return;
  }
  InputFile input(tree.GetLocation(item), item.attributes, console.GetProgress());
  if (input.GetStatus() == 0) {
    Add(item, input);
  } else {
    console.Warn(input.GetSubject(), "left out: " + DescribeStatus(input.GetStatus()));
  }
}

// The entry is whole in itself even if the file is not what it was.
void FileTreeWriter::Add(const FileTree::Item& item, InputFile& input) {
  const Vx::UniString name = tree.GetEntryName(item);
  CheckTextLength(name);
  const unsigned __int64 size = item.attributes.size;
  console.GetProgress().BeginItem(name.GetView(), size, size);
  const bool hasTime = input.GetAttributes().type == ::IO::EntryType::File;
  if (!hasTime) headers.Clear();
  if (hasTime)
    headers.Put(timeHeader, Larkspan::Archive::TreeFacts::TimeToText(input.GetAttributes()));
  headers.Put(modeHeader, Larkspan::Archive::TreeFacts::ModeToText(input.GetAttributes().mode));
  writer.Add(name, headers, method, input);
  if (!hasTime) headers.Clear();  // where there is a time, it comes first
  if (input.HasChanged()) {
    console.Warn(input.GetSubject(), "changed while it was read: its entry may be a mixture");
  }
  console.ShowItem(name.GetView());
}

}  // namespace Tool
