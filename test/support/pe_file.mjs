// What a Windows module takes from other files and shows to them, read out of the file (the Portable Executable format).

/** The names in a module: { imports, delayed, exports }, imports as { 'kernel32.dll': ['CloseHandle', …], … }. */
export function readModule(bytes) {
  const u16 = (at) => bytes.readUInt16LE(at);
  const u32 = (at) => bytes.readUInt32LE(at);
  const header = u32(0x3c);
  if (bytes.toString('latin1', header, header + 4) !== 'PE\0\0' || u16(header + 24) !== 0x20b) throw new Error('no 64-bit module');
  const sections = Array.from({ length: u16(header + 6) }, (_, i) => header + 24 + u16(header + 20) + 40 * i)
    .map((at) => ({ address: u32(at + 12), size: u32(at + 16), offset: u32(at + 20) }));
  /** Where in the file an address of the loaded module lies. */
  const at = (address) => {
    const section = sections.find((each) => address >= each.address && address < each.address + each.size);
    return address - section.address + section.offset;
  };
  const text = (address) => bytes.toString('latin1', at(address), bytes.indexOf(0, at(address)));
  const directory = (number) => u32(header + 24 + 112 + 8 * number);
  /** The functions of a look-up table: each entry leads to a name behind a hint. */
  function functions(address) {
    const names = [];
    for (let entry = at(address); u32(entry) !== 0; entry += 8) names.push(text(u32(entry) + 2));
    return names;
  }
  /** A table of modules with a name and a look-up table each; an entry without a name ends it. */
  function modules(number, entrySize, nameAt, tableAt) {
    const found = {};
    if (directory(number) === 0) return found;
    for (let entry = at(directory(number)); u32(entry + nameAt) !== 0; entry += entrySize) {
      found[text(u32(entry + nameAt)).toLowerCase()] = functions(u32(entry + tableAt));
    }
    return found;
  }
  const exported = at(directory(0));
  const exports = Array.from({ length: u32(exported + 24) }, (_, i) => text(u32(at(u32(exported + 32)) + 4 * i)));
  return { imports: modules(1, 20, 12, 0), delayed: modules(13, 32, 4, 16), exports };
}
