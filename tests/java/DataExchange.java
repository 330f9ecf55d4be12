import java.io.*;

/**
 * Writes values of every type of Java's data streams to a file, and checks that another file,
 * which the library wrote, gives the same ones: see JavaExchangeTest.cpp.
 */
public final class DataExchange {
  static final Object[] VALUES = {
    true, false, Byte.MIN_VALUE, (byte) -1, (byte) 0, Byte.MAX_VALUE,
    Short.MIN_VALUE, (short) -2, (short) 0, Short.MAX_VALUE, '\0', '\u00A9', '\uD800', '\uFFFF',
    Integer.MIN_VALUE, -2, 0, Integer.MAX_VALUE, Long.MIN_VALUE, -2L, 0L, Long.MAX_VALUE,
    Float.intBitsToFloat(0xFFC12345), Float.NEGATIVE_INFINITY, -0.0F, 0.0F, Float.MIN_VALUE,
    Float.MIN_NORMAL, 1.1F, Float.MAX_VALUE, Double.longBitsToDouble(-12345),
    Double.NEGATIVE_INFINITY, -0.0, 0.0, Double.MIN_VALUE, Double.MIN_NORMAL, 1.1, Double.MAX_VALUE,
    "", "a\0b", "\u007F\u0080\u07FF\u0800\uFFFF", "\uD83D\uDE00", "\uD800", "\uDC00",
    "\uDE00\uD83D", "x\uDBFF", "x".repeat(65535), "\u00E9".repeat(32767), "\u20AC".repeat(21845)
  };

  /** Writes the value, and reads the one that the other side wrote in its place. */
  static Object exchange(Object value, DataOutputStream out, DataInputStream in)
      throws IOException {
    if (value instanceof Boolean) { out.writeBoolean((Boolean) value); return in.readBoolean(); }
    if (value instanceof Byte) { out.writeByte((Byte) value); return in.readByte(); }
    if (value instanceof Short) { out.writeShort((Short) value); return in.readShort(); }
    if (value instanceof Character) { out.writeChar((Character) value); return in.readChar(); }
    if (value instanceof Integer) { out.writeInt((Integer) value); return in.readInt(); }
    if (value instanceof Long) { out.writeLong((Long) value); return in.readLong(); }
    if (value instanceof Float) { out.writeFloat((Float) value); return in.readFloat(); }
    if (value instanceof Double) { out.writeDouble((Double) value); return in.readDouble(); }
    out.writeUTF((String) value);
    return in.readUTF();
  }

  public static void main(String[] files) throws IOException {
    try (DataInputStream theirs = new DataInputStream(new FileInputStream(files[0]));
        DataOutputStream ours = new DataOutputStream(new FileOutputStream(files[1]))) {
      for (Object value : VALUES) {
        Object found = exchange(value, ours, theirs);
        if (!found.equals(value)) throw new AssertionError(found + " is not " + value);
      }
    }
  }
}
