// Types of `corvenda-semantic/tools`: the builders behind `klrx`. Where a builder says that a value is computed, giving one
// makes a file that readers must refuse: that is what tests are made of. All bytes that are returned are Buffers.

type Text = string | Uint8Array;

/** A parsed trust file. */
export interface Trust {
  name?: string;
  /** Pieces in hexadecimal. `test-v1`: 16 bytes and twice 8, joined. `release-v1`: twice 32 bytes, XORed. */
  packKeys: {
    'test-v1': { block: string; values: [string, string] };
    'release-v1': { tables: [string, string] };
  };
  /** The pins, and in a development file the private key that belongs to them. */
  manifest: { publicKeySha256: string; publicKeyDerBase64: string; signingKeyPkcs8Base64?: string };
}

export type KeyId = 'test-v1' | 'release-v1';

/** The term fold of the whole system: bytes below 33 dropped, A to Z in lower case, all else kept. */
export function compactTerm(text: string): string;
/** A number as C's "%f" prints it: six digits behind the point, ties to even. */
export function formatFixed(value: number): string;

/** Section names in the order of their type numbers, from 1. */
export const SECTION_NAMES: readonly string[];
/** The name that an index document must have. */
export const INDEX_DOCUMENT_NAME: 'semantic-binary-index-v1';

export interface IndexSection {
  /** A name, or 1 to 5. */
  type: number | string;
  /** Terms should be folded with `compactTerm`. */
  rows?: ReadonlyArray<{ term: Text; fields?: readonly Text[] }>;
  /** Default: 1. */
  sectionFormat?: number;
  /** Computed. */
  termCount?: number;
  /** Computed. */
  bodyLength?: number;
}

/**
 * Builds a binary index document. Sections that are missing are added, empty, behind those that are given.
 * @throws {RangeError} an unknown section, or a number or length that its bytes can't hold
 */
export function buildBinaryIndex(index?: {
  sections?: readonly IndexSection[];
  /** How many sources the rows were made from. Default 1; readers refuse 0. */
  sourceDocumentCount?: number;
  /** Default 3. */
  version?: number;
  /** Default 5. */
  sectionCount?: number;
  /** False writes exactly the given sections. Default true. */
  addMissing?: boolean;
}): Uint8Array;

/**
 * Builds a location shard document. Aliases should be folded with `compactTerm`.
 * @throws {RangeError} a number or length that its bytes can't hold
 */
export function buildLocationShard(
  entries?: ReadonlyArray<{
    alias: Text;
    /** Computed. */
    recordCount?: number;
    records: ReadonlyArray<{
      /** Not empty. */
      code: Text;
      /** 0 native (default), 1 English. */
      englishFlag?: number;
      /** Rounded to single precision. Default 0. */
      weight?: number;
      label?: Text;
      countryLabel?: Text;
    }>;
  }>,
  options?: { version?: number; aliasCount?: number },
): Uint8Array;

/** Document type names in the order of their numbers, from 1. */
export const DOCUMENT_TYPES: readonly string[];

export interface PayloadDocument {
  /** A name, or 1 to 9. */
  type: number | string;
  /** Default 2, the only one whose content is parsed. */
  encoding?: number;
  /** 1 to 128 letters, digits, `-`, `.`, `_`. */
  name: Text;
  /** At least one byte. */
  data: Text;
  /** Computed. */
  sha256?: Uint8Array;
  /** Computed. */
  nameLength?: number;
  /** Computed. */
  dataLength?: number;
}

/**
 * Builds a payload of 1 to 512 documents.
 * @throws {RangeError} an unknown type, or a number or length that its bytes can't hold
 */
export function buildPayload(
  documents?: readonly PayloadDocument[],
  options?: { payloadVersion?: number; documentCount?: number },
): Uint8Array;

/**
 * Compresses bytes into one LZ4 block without any frame or length.
 * @throws {Error} the package lz4-napi is not installed
 */
export function compressLz4Block(bytes: Uint8Array): Uint8Array;

export interface MetadataFields {
  schema?: string;
  kind?: 'base' | 'patch' | (string & {});
  keyId?: KeyId | (string & {});
  /** 1 to 96 letters, digits, `-`, `.`, `_`. */
  ruleSetId?: string;
  /** The same; a base pack needs one too. */
  baseRuleSetId?: string;
  /** 64 lower-case hexadecimal digits, over the payload before compression. */
  payloadSha256?: string;
  /** Default 1. */
  version?: number;
  compression?: 'lz4-block-v1' | (string & {});
}

/** Builds the metadata text of a pack. Values are not tested; a field that is `undefined` is left out. */
export function buildMetadata(fields: { [Field in keyof MetadataFields]: MetadataFields[Field] | undefined }): string;

/**
 * Seals exactly these metadata and this stored payload, without looking at either.
 * @throws {RangeError} an unknown key id, a nonce that has not 12 bytes, or more bytes than the length fields hold
 */
export function sealPack(pack: {
  metadata: Text;
  /** Compressed already if the metadata say so. */
  payload: Text;
  /** The key that is used, whatever the metadata say. */
  keyId: KeyId;
  /** 12 bytes, random by default. Never use one for two payloads. */
  nonce?: Uint8Array;
  /** Default: the development file. */
  trust?: Trust;
}): Uint8Array;

/**
 * Builds a whole pack file.
 * @throws {TypeError} no `ruleSetId`, or a patch without `baseRuleSetId`
 * @throws {RangeError} an unknown compression; as `buildPayload` and `sealPack`
 */
export function buildPack(pack: {
  /** Default `base`. */
  kind?: 'base' | 'patch';
  ruleSetId: string;
  /** Default of a base pack: its own `ruleSetId`. */
  baseRuleSetId?: string;
  /** Default `test-v1`. */
  keyId?: KeyId;
  documents?: readonly PayloadDocument[];
  /** A payload to seal instead of that of `documents`. */
  payload?: Uint8Array;
  compression?: 'lz4-block-v1';
  /** Fields that replace the computed ones. */
  metadata?: { [Field in keyof MetadataFields]: MetadataFields[Field] | undefined };
  nonce?: Uint8Array;
  trust?: Trust;
}): Uint8Array;

/**
 * What a pack file says of itself in clear. Nothing is authenticated here.
 * @throws {Error} the bytes are no pack
 */
export function readPackMetadata(bytes: Uint8Array): Record<string, unknown>;

/** The pins that a development build of the addon holds. */
export const developmentTrust: Readonly<{ publicKeySha256: string; publicKeyDerBase64: string }>;

/** A detached Ed25519 signature of 64 bytes. `signingKey` is a private KeyObject of node:crypto. */
export function signDetached(message: Text, options?: { trust?: Trust; signingKey?: object }): Uint8Array;

/** The text that a manifest's signature covers. */
export function manifestText(fields: object): string;

/**
 * Builds and signs a delta manifest.
 * @throws {TypeError} the pack or its name is missing
 * @throws {RangeError} `modules` is no flat array
 * @throws {Error} the pack can't be read, or is none although an id must be read from it
 */
export function buildManifest(manifest: {
  /** The pack file; or its content in `packBytes` and its name in `pack`. */
  packPath?: string;
  packBytes?: Uint8Array;
  pack?: string;
  /** Default, as of `ruleSetId`: what the pack says in clear. */
  baseRuleSetId?: string;
  ruleSetId?: string;
  /** A flat array, or its raw text. Default: empty. */
  modules?: readonly unknown[] | string;
  /** Default: the development file. */
  trust?: Trust;
  /** An Ed25519 private KeyObject of node:crypto instead; the pins are derived from it. */
  signingKey?: object;
  /** Fields that replace the computed ones before the signing. */
  fields?: object;
}): string;
