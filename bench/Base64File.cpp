// Base64 as a program: a file in, standard output out. For compare_base64.py.

#include <cstdio>
#include <cstring>
#include <exception>

#include "Larkspan/Common/Base64.h"
#include "foundation/Vx/Memory.h"

namespace {

using Larkspan::Common::Base64;

// Whole triplets of data, whole quartets of text and whole lines of 76 characters: each piece
// stands for itself.
constexpr unsigned int PieceSize = 3 * 4 * 77 * 256;

using Operation = void (*)(const char*, unsigned int, char**, unsigned int*);

bool Convert(std::FILE* file, Operation operation) {
  const Vx::ByteArray piece = Vx::NewByteArray(PieceSize);
  while (const std::size_t size = std::fread(piece.get(), 1, PieceSize, file)) {
    char* target = nullptr;
    unsigned int targetSize = 0;
    operation(piece.get(), static_cast<unsigned int>(size), &target, &targetSize);
    const Vx::ByteArray owned(target);
    if (std::fwrite(target, 1, targetSize, stdout) != targetSize) return false;
  }
  return std::ferror(file) == 0 && std::fflush(stdout) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const bool encodes = argc == 3 && std::strcmp(argv[1], "encode") == 0;
  const bool decodes = argc == 3 && std::strcmp(argv[1], "decode") == 0;
  if (!encodes && !decodes) {
    std::fprintf(stderr, "usage: base64-file encode|decode FILE\n");
    return 2;
  }
  std::FILE* const file = std::fopen(argv[2], "rb");
  if (file == nullptr) {
    std::fprintf(stderr, "can't open %s\n", argv[2]);
    return 1;
  }
  std::setvbuf(file, nullptr, _IONBF, 0);
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  try {
    const bool isDone = Convert(file, encodes ? Base64::Encode : Base64::Decode);
    std::fclose(file);
    return isDone ? 0 : 1;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return 1;
  }
}
