import java.io.BufferedInputStream;
import java.io.BufferedOutputStream;
import java.io.ByteArrayOutputStream;
import java.io.DataInputStream;
import java.io.EOFException;
import java.io.FileDescriptor;
import java.io.FileInputStream;
import java.io.FileOutputStream;
import java.io.FilterInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.io.OutputStream;
import java.io.PrintStream;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import java.security.DigestOutputStream;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.StringJoiner;
import java.util.zip.CRC32;
import java.util.zip.DataFormatException;
import java.util.zip.Inflater;

/**
 * Reads archives with nothing but the JDK, from version 11 on:
 *
 * <pre>java ReadArchive.java list|verify|cat|dump ARCHIVE [NAME]</pre>
 *
 * ARCHIVE is a file, or - for standard input. The format is described in docs/archive-format.md;
 * this file follows its order. {@link Archive} can be used on its own:
 *
 * <pre>
 *   Archive archive = new Archive(stream);
 *   for (Entry entry; (entry = archive.nextEntry()) != null; ) {
 *     archive.copyData(entry, target);
 *   }
 * </pre>
 *
 * An archive is one stream, read once from front to back. No entry is held in memory, and no
 * length or count from the stream decides how much memory is allocated. An entry's data is verified
 * only when {@code copyData} has returned: don't trust it before. If the header promises a seal, a
 * wrong or missing one is reported after the last entry.
 *
 * <p>Names and values are printed as JSON texts in ASCII, so that no byte of an archive reaches a
 * terminal as a command. Output and exit codes are those of read_archive.py: 0 done; 1 no entry of
 * that name; 2 wrong usage; 3 a system error; 4 a bad archive; 130 interrupted.
 */
public final class ReadArchive {
  static final String HEADER_FAILED = "Failed to read archive header: ";
  static final String ENTRY_FAILED = "Failed to read archive entry: ";
  static final String CHECK_FAILED = "Failed to verify archive: ";
  static final byte[] SEAL_MARK = "\u00FF\u00FFLarkspanSeal".getBytes(StandardCharsets.ISO_8859_1);
  static final int BLOCK_SIZE = 65536; // the most that is read, or inflated, at a time
  static final int DEFLATED = 1;
  static final int STORED = 2;

  /** The archive is bad. The message says why. */
  static final class ArchiveException extends IOException {
    private static final long serialVersionUID = 1;

    ArchiveException(String message) {
      super(message);
    }
  }

  /** One entry. Sizes and CRC count what was read; they are right once the data has been copied. */
  static final class Entry {
    final String name;
    final int method;
    final Map<String, String> headers = new LinkedHashMap<>();
    final CRC32 crc = new CRC32();
    long archivedSize;
    long size;

    Entry(String name, int method) {
      this.name = name;
      this.method = method;
    }

    String methodName() {
      return method == DEFLATED ? "deflated" : "stored";
    }

    /** Whether its data says where a symbolic or hard link leads. */
    boolean isLink() {
      String type = headers.getOrDefault("type", "");
      return type.equals("link") || type.equals("hardlink");
    }
  }

  /** Where a link leads, to be printed. No system has a longer target. */
  static final class Target extends OutputStream {
    private static final int LONGEST = 65535;
    private final StringBuilder text = new StringBuilder();
    private int size;

    @Override
    public void write(int value) {
      if (size++ >= LONGEST) return;
      int unit = value & 0xFF;
      text.append(unit >= 32 && unit < 127 ? String.valueOf((char) unit)
                                           : String.format("\\x%02x", unit));
    }

    @Override
    public String toString() {
      return text.toString();
    }
  }

  /** Hands all that is read to a watcher, as long as there is one. */
  static final class WatchedInput extends FilterInputStream {
    Sink watcher;

    WatchedInput(InputStream stream) {
      super(stream);
    }

    @Override
    public int read() throws IOException {
      byte[] one = new byte[1];
      return read(one, 0, 1) < 0 ? -1 : one[0] & 0xFF;
    }

    @Override
    public int read(byte[] target, int offset, int size) throws IOException {
      int length = super.read(target, offset, size);
      if (watcher != null && length > 0) {
        watcher.take(Arrays.copyOfRange(target, offset, offset + length), length);
      }
      return length;
    }
  }

  /** The seal as it must be, gathered while the entries go by. */
  static final class Seal implements Sink {
    private final CRC32 crc = new CRC32();
    private long count;
    private long size;

    @Override
    public void take(byte[] block, int length) {
      crc.update(block, 0, length);
    }

    void addFooter(Entry entry) {
      crc.update(ByteBuffer.allocate(12).putLong(entry.size).putInt((int) entry.crc.getValue())
          .array());
      ++count;
      size += entry.size;
    }

    byte[] encode() {
      ByteBuffer bytes = ByteBuffer.allocate(42).put(SEAL_MARK).putInt(1).putLong(count)
          .putLong(size).putInt((int) crc.getValue());
      CRC32 own = new CRC32();
      own.update(bytes.array(), 0, bytes.position());
      return bytes.putInt((int) own.getValue()).array();
    }
  }

  /** The promise of a seal among the pairs of the archive header, and what it says of the rest. */
  static final class HeaderCheck implements Sink {
    boolean promised;
    boolean right;
    private final CRC32 crc = new CRC32();
    private long previousCRC;
    private long previousSize;
    private boolean zero = true;

    @Override
    public void take(byte[] block, int length) {
      crc.update(block, 0, length);
      for (int at = 0; at < length; ++at) zero &= block[at] == 0;
    }

    /** The pair that was read last; `size` is that of the header so far. */
    void takePair(String name, String value, long size) {
      right = false;
      if (name.equals("seal")) {
        promised = value.matches("1 [0-9A-F]{8}");
        right = promised && Long.parseLong(value.substring(2), 16) == previousCRC
            && size - previousSize == 18;
      }
      begin(size);
    }

    /** The header up to here; the pairs or the padding begin. */
    void begin(long size) {
      previousCRC = crc.getValue();
      previousSize = size;
      zero = true;
    }

    void takeRest(boolean versionKnown, boolean hasRoom, long padding, long missing) {
      right &= versionKnown && (!hasRoom || padding > 0 && missing == 0 && zero);
    }
  }

  /**
   * Reads the archive header at once, and the entries on demand. After the last entry,
   * {@code sealed} says whether the archive has a seal; a wrong seal is an error.
   */
  static final class Archive {
    final Map<String, String> headers = new LinkedHashMap<>();
    boolean sealed;
    final long majorVersion;
    final long minorVersion;
    final long reservedSize;
    private final WatchedInput input;
    private final DataInputStream values;
    private final HeaderCheck headerCheck = new HeaderCheck();
    private final Seal seal = new Seal();
    private long headerSize; // without the padding

    Archive(InputStream stream) throws IOException {
      input = new WatchedInput(new BufferedInputStream(stream, BLOCK_SIZE));
      values = new DataInputStream(input);
      byte[] magic = "LarkspanArchive".getBytes(StandardCharsets.US_ASCII);
      if (!Arrays.equals(values.readNBytes(magic.length), magic)) {
        throw new ArchiveException(HEADER_FAILED + "invalid archive header magic.");
      }
      majorVersion = readU32();
      minorVersion = readU32();
      if (majorVersion != 1 && minorVersion != 0) {
        throw new ArchiveException(HEADER_FAILED + "unsupported archive version read.");
      }
      reservedSize = readU32();
      headerSize = magic.length + 16;
      long pairs = readU32();
      headerCheck.begin(headerSize);
      input.watcher = headerCheck;
      for (long left = pairs; left > 0; --left) {
        String name = readText();
        String value = readText();
        headers.put(name, value);
        headerCheck.takePair(name, value, headerSize);
      }
      boolean hasRoom = reservedSize != 0;
      if (hasRoom && headerSize > reservedSize) {
        String reason = "archive header size exceeds the specified header size.";
        throw new ArchiveException(HEADER_FAILED + reason);
      }
      headerCheck.begin(headerSize);
      long padding = hasRoom ? reservedSize - headerSize : 0;
      // Truncated in the padding, it is the same as an archive without entries.
      long missing = copy(padding, (block, length) -> {});
      headerCheck.takeRest(majorVersion == 1 && minorVersion == 0, hasRoom, padding, missing);
    }

    private static String latin1(byte[] bytes) {
      return new String(bytes, StandardCharsets.ISO_8859_1);
    }

    /** What stands behind the last footer, a seal or none, against what must stand there. */
    private void checkEnd(byte[] tail) throws ArchiveException {
      boolean marked = latin1(tail).contains(latin1(SEAL_MARK));
      if (headerCheck.promised && !headerCheck.right) {
        throw new ArchiveException(CHECK_FAILED
            + "its header is torn, or was changed by a program that does not know the seal.");
      }
      if (marked && !Arrays.equals(tail, seal.encode())) {
        throw new ArchiveException(CHECK_FAILED + "its seal does not fit.");
      }
      if (headerCheck.promised && !marked) {
        throw new ArchiveException(CHECK_FAILED + "the seal that its header promises is missing.");
      }
      if (marked && !headerCheck.promised) {
        throw new ArchiveException(CHECK_FAILED + "its header does not promise the seal.");
      }
      sealed = marked;
    }

    /** The next entry, or null if the stream ends before a name is complete. */
    Entry nextEntry() throws IOException {
      ByteArrayOutputStream tail = new ByteArrayOutputStream();
      input.watcher = (block, length) -> tail.write(block, 0, length);
      String name;
      try {
        name = readText();
      } catch (EOFException end) {
        checkEnd(tail.toByteArray());
        return null;
      }
      seal.take(tail.toByteArray(), tail.size());
      input.watcher = seal;
      if (name.isEmpty()) throw new ArchiveException(ENTRY_FAILED + "invalid entry name.");
      Entry entry = new Entry(name, values.readInt());
      if (entry.method != DEFLATED && entry.method != STORED) {
        throw new ArchiveException(ENTRY_FAILED + "invalid entry method.");
      }
      for (long left = readU32(); left > 0; --left) {
        String header = readText();
        String value = readText();
        if (header.isEmpty()) {
          throw new ArchiveException("Invalid archive entry header name: header name is empty.");
        }
        entry.headers.put(header, value);
      }
      input.watcher = null;
      return entry;
    }

    /** Writes the plain data of the entry returned last, and checks it against its footer. */
    void copyData(Entry entry, OutputStream target) throws IOException {
      Sink plain = (block, length) -> {
        entry.size += length;
        entry.crc.update(block, 0, length);
        target.write(block, 0, length);
      };
      Inflater inflater = new Inflater();
      try {
        Sink carried = entry.method == STORED ? plain : inflate(inflater, plain);
        for (long left = readU32(); left > 0; left = readU32()) {
          entry.archivedSize += left;
          if (copy(left, carried) > 0) throw new EOFException();
        }
        if (entry.method == DEFLATED && !inflater.finished()) {
          throw new ArchiveException("Inflate failed: end of stream reached.");
        }
      } finally {
        inflater.end();
      }
      check(values.readLong() == entry.archivedSize, "archived size");
      check(values.readLong() == entry.size, "size");
      check(readU32() == entry.crc.getValue(), "crc");
      seal.addFooter(entry);
    }

    /** Passes on `left` bytes in blocks; returns how many of them the stream lacks. */
    private long copy(long left, Sink target) throws IOException {
      byte[] block = new byte[(int) Math.min(left, BLOCK_SIZE)];
      while (left > 0) {
        int length = values.read(block, 0, (int) Math.min(left, block.length));
        if (length < 0) break;
        target.take(block, length);
        left -= length;
      }
      return left;
    }

    private long readU32() throws IOException {
      return Integer.toUnsignedLong(values.readInt());
    }

    private String readText() throws IOException {
      byte[] bytes = new byte[values.readUnsignedShort()];
      values.readFully(bytes);
      headerSize += 2 + bytes.length;
      return decodeText(bytes);
    }

    private static void check(boolean agrees, String what) throws ArchiveException {
      if (!agrees) throw new ArchiveException(ENTRY_FAILED + "entry " + what + " check failed.");
    }
  }

  /** Takes the first bytes of a block of data. */
  interface Sink {
    void take(byte[] block, int length) throws IOException;
  }

  /** Inflates what it takes, and passes it on in blocks of bounded size. */
  static Sink inflate(Inflater inflater, Sink plain) {
    byte[] inflated = new byte[BLOCK_SIZE];
    return (block, length) -> {
      inflater.setInput(block, 0, length);
      int count;
      do {
        try {
          count = inflater.inflate(inflated);
        } catch (DataFormatException failure) {
          throw new ArchiveException("Inflate failed: data error");
        }
        if (inflater.needsDictionary()) {
          throw new ArchiveException("Inflate failed: need dictionary");
        }
        // Bytes after the end of the zlib stream.
        if (inflater.finished()) Archive.check(inflater.getRemaining() == 0, "archived size");
        plain.take(inflated, count);
      } while (count > 0);
    };
  }

  /**
   * Decodes modified UTF-8, each unit on its own, so that surrogates need not come in pairs. Unlike
   * readUTF, it accepts the four-byte sequences of standard UTF-8, refuses overlong forms as
   * malformed, and ends the text at a zero byte.
   */
  static String decodeText(byte[] bytes) throws ArchiveException {
    StringBuilder text = new StringBuilder(bytes.length);
    for (int at = 0; at < bytes.length && bytes[at] != 0; ) {
      int lead = bytes[at++] & 0xFF;
      int more = lead < 0x80 ? 0 : lead < 0xC0 ? -1 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
      if (more < 0 || lead > 0xF4 || more > bytes.length - at) throw malformed();
      int code = more == 0 ? lead : lead & (0x3F >> more);
      for (int left = more; left > 0; --left) {
        int next = bytes[at++] & 0xFF;
        if (next >> 6 != 2) throw malformed();
        code = code << 6 | (next & 0x3F);
      }
      int least = more == 0 ? 1 : more == 1 ? 0x80 : more == 2 ? 0x800 : 0x10000;
      boolean overlong = code < least && !(more == 1 && code == 0); // C0 80 is U+0000
      if (overlong || code > Character.MAX_CODE_POINT) throw malformed();
      text.appendCodePoint(code);
    }
    return text.toString();
  }

  private static ArchiveException malformed() {
    return new ArchiveException("Failed to convert bytes: malformed UTF-8.");
  }

  /** Runs a command on an archive whose header has been read. */
  private static int execute(String command, String name, Archive archive, OutputStream output)
      throws IOException {
    if (command.equals("dump")) printLine(output, describe(archive));
    long count = 0;
    for (Entry entry; (entry = archive.nextEntry()) != null; ++count) {
      if (command.equals("cat") && entry.name.equals(name)) {
        archive.copyData(entry, output);
        return 0;
      }
      MessageDigest digest = newDigest();
      Target target = new Target();
      archive.copyData(entry, command.equals("dump") ? into(digest)
                            : entry.isLink() ? target : OutputStream.nullOutputStream());
      if (command.equals("dump")) printLine(output, describe(entry, digest));
      if (command.equals("list")) {
        printLine(output, String.format("%-8s %12d %12d %08x %s", entry.methodName(),
            entry.archivedSize, entry.size, entry.crc.getValue(), quote(entry.name))
            + (entry.isLink() ? " -> " + target : ""));
      }
    }
    if (command.equals("verify")) {
      printLine(output, "Verified " + count + (count == 1 ? " entry" : " entries")
          + (archive.sealed ? ", sealed." : "."));
    }
    return command.equals("cat") ? 1 : 0;
  }

  private static MessageDigest newDigest() {
    try {
      return MessageDigest.getInstance("SHA-256");
    } catch (NoSuchAlgorithmException failure) {
      throw new AssertionError(failure); // every JDK has it
    }
  }

  private static OutputStream into(MessageDigest digest) {
    return new DigestOutputStream(OutputStream.nullOutputStream(), digest);
  }

  private static String describe(Archive archive) {
    return String.format("{\"headers\": %s, \"reservedSize\": %d, \"version\": [%d, %d]}",
        quote(archive.headers), archive.reservedSize, archive.majorVersion, archive.minorVersion);
  }

  private static String describe(Entry entry, MessageDigest digest) {
    StringBuilder sha256 = new StringBuilder();
    for (byte part : digest.digest()) sha256.append(String.format("%02x", part));
    return String.format("{\"name\": %s, \"method\": \"%s\", \"headers\": %s, \"archivedSize\": %d,"
        + " \"size\": %d, \"crc\": %d, \"sha256\": \"%s\"}", quote(entry.name), entry.methodName(),
        quote(entry.headers), entry.archivedSize, entry.size, entry.crc.getValue(), sha256);
  }

  private static String quote(Map<String, String> headers) {
    StringJoiner pairs = new StringJoiner(", ", "{", "}");
    headers.forEach((name, value) -> pairs.add(quote(name) + ": " + quote(value)));
    return pairs.toString();
  }

  /** A JSON text in ASCII. */
  private static String quote(String text) {
    StringBuilder quoted = new StringBuilder("\"");
    for (char unit : text.toCharArray()) {
      int escape = "\"\\\b\f\n\r\t".indexOf(unit);
      if (escape >= 0) {
        quoted.append('\\').append("\"\\bfnrt".charAt(escape));
      } else if (unit < ' ' || unit > '~') {
        quoted.append(String.format("\\u%04x", (int) unit));
      } else {
        quoted.append(unit);
      }
    }
    return quoted.append('"').toString();
  }

  private static void printLine(OutputStream output, String line) throws IOException {
    output.write((line + "\n").getBytes(StandardCharsets.US_ASCII));
  }

  /** The whole program but for its streams; returns the exit code. */
  static int run(String[] arguments, InputStream input, OutputStream output, PrintStream errors) {
    String command = arguments.length > 0 ? arguments[0] : "";
    int expected = command.equals("cat") ? 3 : 2;
    if (!command.matches("list|verify|cat|dump") || arguments.length != expected) {
      errors.println("usage: ReadArchive.java list|verify|dump ARCHIVE, or cat ARCHIVE NAME");
      return 2;
    }
    boolean fromInput = arguments[1].equals("-");
    String where = "ReadArchive: " + (fromInput ? "standard input" : quote(arguments[1])) + ": ";
    String name = arguments[arguments.length - 1];
    try (InputStream stream = fromInput ? input : new FileInputStream(arguments[1])) {
      int status = execute(command, name, new Archive(stream), output);
      output.flush();
      if (status == 1) errors.println(where + "no entry named " + quote(name));
      return status;
    } catch (ArchiveException failure) {
      return end(output, errors, where + failure.getMessage(), 4);
    } catch (EOFException failure) {
      return end(output, errors, where + "End of input reached.", 4);
    } catch (IOException failure) {
      // Only the reason of "a.lsa (No such file or directory)".
      String reason = String.valueOf(failure.getMessage()).replaceFirst("(?s).*\\((.*)\\)$", "$1");
      return end(output, errors, where + reason, 3);
    }
  }

  /** Prints what was found before the failure, then the failure. */
  private static int end(OutputStream output, PrintStream errors, String message, int status) {
    try {
      output.flush();
    } catch (IOException failure) {
      // Nobody reads the output; the exit code is that of the first failure.
    }
    errors.println(message);
    return status;
  }

  public static void main(String[] arguments) {
    OutputStream output = new BufferedOutputStream(new FileOutputStream(FileDescriptor.out));
    System.exit(run(arguments, System.in, output, System.err));
  }
}
