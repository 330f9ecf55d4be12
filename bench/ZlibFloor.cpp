// What it costs to deflate files one by one, and to inflate them again, with nothing around zlib:
//
//   zlib-floor deflate TARGET < list of file names, one a line
//   zlib-floor inflate TARGET
//
// TARGET gets the streams, each behind its length. Each file is one zlib stream at the default
// level, and its CRC-32 is taken on both ways.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <zlib.h>

namespace {

constexpr std::size_t BufferSize = 65536;

using Bytes = std::vector<unsigned char>;

[[noreturn]] void Fail(const std::string& what) {
  std::cerr << "zlib-floor: " << what << '\n';
  std::exit(1);
}

// Deflates one file into `stream`; gives its CRC.
std::uint32_t DeflateFile(std::FILE* file, Bytes& stream) {
  static Bytes input(BufferSize);
  static Bytes output(BufferSize);
  z_stream state{};
  if (deflateInit(&state, Z_DEFAULT_COMPRESSION) != Z_OK) Fail("deflateInit failed");
  stream.clear();
  uLong crc = crc32(0, nullptr, 0);
  int flush = Z_NO_FLUSH;
  while (flush != Z_FINISH) {
    const std::size_t count = std::fread(input.data(), 1, input.size(), file);
    flush = count < input.size() ? Z_FINISH : Z_NO_FLUSH;
    crc = crc32(crc, input.data(), static_cast<uInt>(count));
    state.next_in = input.data();
    state.avail_in = static_cast<uInt>(count);
    do {
      state.next_out = output.data();
      state.avail_out = static_cast<uInt>(output.size());
      if (deflate(&state, flush) == Z_STREAM_ERROR) Fail("deflate failed");
      stream.insert(stream.end(), output.data(), state.next_out);
    } while (state.avail_out == 0);
  }
  deflateEnd(&state);
  return static_cast<std::uint32_t>(crc);
}

std::uint32_t InflateStream(Bytes& stream) {
  static Bytes output(BufferSize);
  z_stream state{};
  if (inflateInit(&state) != Z_OK) Fail("inflateInit failed");
  uLong crc = crc32(0, nullptr, 0);
  state.next_in = stream.data();
  state.avail_in = static_cast<uInt>(stream.size());
  for (int result = Z_OK; result != Z_STREAM_END;) {
    state.next_out = output.data();
    state.avail_out = static_cast<uInt>(output.size());
    result = inflate(&state, Z_NO_FLUSH);
    if (result != Z_OK && result != Z_STREAM_END) Fail("inflate failed");
    crc = crc32(crc, output.data(), static_cast<uInt>(output.size() - state.avail_out));
  }
  inflateEnd(&state);
  return static_cast<std::uint32_t>(crc);
}

struct Record {
  std::uint64_t size;
  std::uint32_t crc;
};

void DeflateAll(const char* target) {
  std::ofstream out(target, std::ios::binary);
  Bytes stream;
  for (std::string name; std::getline(std::cin, name);) {
    std::FILE* const file = std::fopen(name.c_str(), "rb");
    if (file == nullptr) Fail("can't open " + name);
    std::setvbuf(file, nullptr, _IONBF, 0);
    Record record{0, DeflateFile(file, stream)};
    std::fclose(file);
    record.size = stream.size();
    out.write(reinterpret_cast<const char*>(&record), sizeof(record));
    out.write(reinterpret_cast<const char*>(stream.data()),
              static_cast<std::streamsize>(stream.size()));
  }
  if (!out.flush()) Fail("can't write");
}

void InflateAll(const char* source) {
  std::ifstream in(source, std::ios::binary);
  Bytes stream;
  for (Record record{}; in.read(reinterpret_cast<char*>(&record), sizeof(record));) {
    stream.resize(record.size);
    in.read(reinterpret_cast<char*>(stream.data()), static_cast<std::streamsize>(record.size));
    if (InflateStream(stream) != record.crc) Fail("the CRC differs");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::strcmp(argv[1], "deflate") == 0) {
    DeflateAll(argv[2]);
  } else if (argc == 3 && std::strcmp(argv[1], "inflate") == 0) {
    InflateAll(argv[2]);
  } else {
    Fail("usage: zlib-floor deflate|inflate TARGET");
  }
}
