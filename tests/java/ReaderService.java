import java.io.*;

/** The example reader for many archives in one process: see read_archive_test.py. */
public final class ReaderService {
  public static void main(String[] unused) throws IOException {
    DataInputStream requests = new DataInputStream(System.in);
    DataOutputStream answers = new DataOutputStream(System.out);
    while (requests.read() == 1) {
      String[] arguments = requests.readUTF().split("\n");
      byte[] archive = requests.readNBytes(requests.readInt());
      ByteArrayOutputStream output = new ByteArrayOutputStream();
      ByteArrayOutputStream errors = new ByteArrayOutputStream();
      answers.writeInt(ReadArchive.run(arguments, new ByteArrayInputStream(archive), output,
          new PrintStream(errors)));
      for (ByteArrayOutputStream text : new ByteArrayOutputStream[] {output, errors}) {
        answers.writeInt(text.size());
        text.writeTo(answers);
      }
      answers.flush();
    }
  }
}
