// Types of the native module, written by hand and closed: what is not here does not exist.
//
// All functions but `warmSemanticRulePack` are synchronous. A call that fails throws and has no result; a result always
// has `ok: true`. `TypeError`: the call or an option has the wrong shape. `RangeError`: a value that is not allowed.
// `Error`: the pack or another file was refused, in the words of what refused it.

// --- Shared ------------------------------------------------------------------------------------------------------

/** A rule pack and the folder that it must lie in. Both are needed by every function that reads a pack. */
export interface PackOptions {
  /** Path of the rule pack: 1 to 4096 bytes of UTF-8, extension `.klrx` in lower case, a file of 40 bytes to 128 MiB. */
  packPath: string;
  /**
   * The approved root: the pack must lie below this folder once links are resolved. The comparison ignores case; a path
   * or root with a character outside ASCII is never inside, and neither is anything below a root such as `/`.
   */
  allowedRoot: string;
}

/** A second pack whose rows join those of the base pack. */
export interface OverlayPackOptions {
  /** Path of the second pack, as `packPath`. Absent, `undefined`, null and the empty string mean that there is none. */
  overlayPackPath?: string | null | undefined;
  /** The approved root of the second pack, as `allowedRoot`. Needed as soon as `overlayPackPath` is not empty: a `TypeError`. */
  overlayAllowedRoot?: string | null | undefined;
}

/** A title in its two forms. */
export interface Title {
  /** The title as the library has it, in any script. Not empty; blanks alone are accepted and match nothing. */
  raw: string;
  /**
   * An English reading of the title: lower-case words separated by blanks. English terms are looked for in it, as whole
   * words. Default: empty. If the property is there it must hold a string: an explicit `undefined` is a `TypeError`.
   */
  normalizedEnglish?: string;
}

/** The sections of a pack's term index. */
export type Section = 'scene' | 'human' | 'celebrity' | 'location' | 'facet';

/** `exact`: the row's term is the given text. `contains`: the given text is a title, in which the row's term occurs. */
export type LookupMode = 'exact' | 'contains';

/** Strength of a scene row: short 500, conflict 400, compound 300, detail 200, category 100, anything else 0. */
export type SceneRank = 0 | 100 | 200 | 300 | 400 | 500;

// --- getSemanticInfo ---------------------------------------------------------------------------------------------

/** The contract of this binary. Every value is fixed. */
export interface SemanticInfo {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Name of the module. */
  module: 'CorvendaSemantic';
  /** Market of the build. */
  market: 'EN';
  /** Version of what the functions promise. */
  contractVersion: 1;
  /** Name of what the functions promise. */
  stage: 'native-stage-semantic-rule-pack-v1';
  /** File name of the native module. */
  binary: 'corvenda_semantic.node';
  /** The value of "schema" that a pack must have. */
  packSchema: 'corvenda.semantic-rule-pack.v1';
  /** The value of "version" that a pack must have. */
  packVersion: 1;
  /** The binary opens packs under the release key too. */
  testKeyOnly: false;
  /** Id of the key under which packs that ship are sealed. */
  releaseKeyId: 'release-v1';
}

/** Says what this binary is. Takes no arguments, reads nothing, never throws. */
export function getSemanticInfo(): SemanticInfo;

// --- inspectRulePack ---------------------------------------------------------------------------------------------

/** Names under which the documents of a pack are counted. */
export type DocumentTypeName =
  | 'scene-lexicon' | 'human-language' | 'star-manifest' | 'star-shard' | 'location-meta' | 'location-shard'
  | 'bundled-patch' | 'semantic-index' | 'semantic-facet-lexicon';

/** The term index of a pack. All numbers are 0 and `sectionCounts` is empty if the pack has none. */
export interface BinaryIndexInfo {
  /** Format version of the index: 3, or 0 without an index. */
  version: 0 | 3;
  /** Number of sections: 5, or 0 without an index. */
  sectionCount: 0 | 5;
  /** How many source documents the index was made from. */
  sourceDocumentCount: number;
  /** Size of the index document in bytes. */
  bytes: number;
  /** Terms in each section, the names in byte order. */
  sectionCounts: Partial<Record<Section, number>>;
}

/** What a pack says of itself, and what is in it. */
export interface RulePackInfo {
  /** Always true: a call that fails throws. */
  ok: true;
  /** The pack's "schema". */
  schema: 'corvenda.semantic-rule-pack.v1';
  /** `base` stands by itself; `patch` is laid over a base. */
  kind: 'base' | 'patch';
  /** Id of the rule set: 1 to 96 letters, digits, `-`, `.`, `_`. */
  ruleSetId: string;
  /** Id of the rule set that a patch starts from; a base pack has one too. */
  baseRuleSetId: string;
  /** SHA-256 of the payload, decompressed: 64 lower-case hexadecimal digits. */
  payloadSha256: string;
  /** Number of documents in the payload, 1 to 512. */
  documentCount: number;
  /** Size of the pack file in bytes. */
  packBytes: number;
  /** Documents of each type, the names in byte order; types that do not occur are absent. */
  documentCounts: Partial<Record<DocumentTypeName, number>>;
  /** The term index, in which the rows are. */
  binaryIndex: BinaryIndexInfo;
}

/**
 * Opens a pack and proves that it is sound, or shows what is cached of the same unchanged file.
 * @throws {TypeError} not exactly one options object, or an option that is missing, empty or no string
 * @throws {Error} the pack was refused; the message says at which step, and is empty for an index document with a wrong
 *   name or encoding
 */
export function inspectRulePack(options: PackOptions): RulePackInfo;

// --- inspectSemanticDelta ----------------------------------------------------------------------------------------

/** A patch pack and what it must be. */
export interface DeltaOptions extends PackOptions {
  /** The rule set that the patch must start from. */
  baseRuleSetId: string;
  /** The rule set that the patch must lead to; differs from `baseRuleSetId`. */
  ruleSetId: string;
}

/** A patch pack that is the expected one. */
export interface SemanticDeltaInfo extends Omit<RulePackInfo, 'schema' | 'kind'> {
  /** Version of this result. */
  contract: 'native-semantic-delta-v1';
  /** As in `RulePackInfo`; a base pack is refused. */
  kind: 'patch';
}

/**
 * Opens a patch pack and compares it with the two expected rule-set ids, byte for byte.
 * @throws {TypeError} as `inspectRulePack`
 * @throws {RangeError} the two ids are equal; no file is touched
 * @throws {Error} the pack was refused, is no patch, or joins other rule sets
 */
export function inspectSemanticDelta(options: DeltaOptions): SemanticDeltaInfo;

// --- verifySemanticDeltaManifest ---------------------------------------------------------------------------------

/** A patch pack, what it must be, and the manifest that vouches for it. */
export interface DeltaManifestOptions extends DeltaOptions {
  /** Path of the signed manifest, 1 to 131072 bytes long, below `allowedRoot` like the pack. */
  manifestPath: string;
}

/** A patch pack that may be trusted. */
export interface DeltaManifestResult {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Version of this result. */
  contract: 'native-semantic-delta-manifest-v1';
  /** The rule set that the patch starts from, as expected. */
  baseRuleSetId: string;
  /** The rule set that the patch leads to, as expected. */
  ruleSetId: string;
  /** SHA-256 of the pack file as it lies on disk: 64 lower-case hexadecimal digits. */
  packSha256: string;
  /** Always true: a signature that doesn't hold is an error. */
  signatureVerified: true;
}

/**
 * Decides whether a patch pack may be trusted: the manifest is signed with the pinned Ed25519 key, names this very file
 * with its size and digest, and joins the two expected rule sets. The pack is opened only if the signature holds.
 * @throws {TypeError} as `inspectRulePack`
 * @throws {Error} the first check that failed
 */
export function verifySemanticDeltaManifest(options: DeltaManifestOptions): DeltaManifestResult;

// --- lookupBinaryIndex -------------------------------------------------------------------------------------------

/** A question to one section of a pack. */
export interface LookupQuery {
  /** The section to ask. `location` covers the rows of all location shards too. */
  section: Section;
  /** The text asked about, used as given: nothing is folded. Pack terms are lower case without blanks. */
  term: string;
  /** Default `exact`. If the property is there it must hold one of the two. */
  mode?: LookupMode;
}

/** A pack, and a question to it. */
export interface LookupOptions extends PackOptions, LookupQuery {}

/** A row that was found, scored as if it were a scene row. */
export interface LookupMatch {
  /** The row's own section; for `location` possibly a name that begins with `location-`. */
  section: string;
  /** The row's term. */
  term: string;
  /** All fields of the row. Every number in a row is text. */
  fields: string[];
  /** How strong a row of this kind is; 0 for rows of other sections than scenes. */
  candidateRank: SceneRank;
  /** Field 3 of the row, "" if it has none: the kind of a scene row. */
  candidateType: string;
  /**
   * How well the row's term fits, higher is better: earliness, 10 at the start of the text to 0 from its eleventh character
   * on; plus length, 0.9 (English) or 1.2 a character, at most 12; plus the row's weight, any number; less 0 to 26 for a
   * word that says little, such as `daily`. May be negative.
   */
  candidateScore: number;
  /** The same for a row of the kind `detail`, without weight: 6 to 24. 0 for rows of other kinds. */
  detailScore: number;
}

/** The matches of one scene, folded. */
export interface SceneCandidate {
  /** Key of the scene. */
  sceneKey: string;
  /** Detail of the strongest row: highest rank, then longest term. */
  detailLabel: string;
  /** The highest rank among its rows. */
  bestRank: SceneRank;
  /** Number of rows of this scene, 1 or more. */
  candidateCount: number;
  /** The highest `detailScore` among its rows. */
  bestDetailScore: number;
  /** The kinds of its rows, each once, in the order of `matches`. */
  candidateTypes: string[];
}

/** The rows that a pack has for a term or a title. */
export interface LookupResult {
  /** Always true: a call that fails throws. */
  ok: true;
  /** The option, unchanged; so are the next two. */
  section: Section;
  /** The text that was asked about. */
  term: string;
  /** How it was asked about. */
  mode: LookupMode;
  /** All rows, by rank, then length of the term, then field 0. Empty if none. */
  matches: LookupMatch[];
  /** Version of the scores. */
  scoreContract: 'native-candidate-v1';
  /** One entry for each scene, strongest first; empty unless the section is `scene`. */
  sceneCandidates: SceneCandidate[];
}

/**
 * Asks a pack which rows of a section carry a term, or occur in a title.
 * @throws {TypeError} as `inspectRulePack`; `mode` that is no string
 * @throws {RangeError} an unknown section or mode
 * @throws {Error} the pack was refused
 */
export function lookupBinaryIndex(options: LookupOptions): LookupResult;

// --- lookupBinaryIndexOverlay ------------------------------------------------------------------------------------

/** Two packs, and a question to the first as seen through the second. */
export interface OverlayLookupOptions extends LookupQuery {
  /** The base pack. */
  basePackPath: string;
  /** The patch laid over it; its kind must be `patch`. */
  overlayPackPath: string;
  /** The approved root of both packs. */
  allowedRoot: string;
}

/** A row that was found in one of the two packs. */
export interface OverlayLookupMatch {
  /** The row's own section; for `location` possibly a name that begins with `location-`. */
  section: string;
  /** The row's term. */
  term: string;
  /** Which pack the row came from. */
  source: 'overlay' | 'base';
  /** All fields of the row. Every number in a row is text. */
  fields: string[];
}

/** The rows that the two packs have for a term or a title. */
export interface OverlayLookupResult {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Version of this result. */
  contract: 'native-semantic-overlay-lookup-v1';
  /** The option, unchanged; so are the next two. */
  section: Section;
  /** The text that was asked about. */
  term: string;
  /** How it was asked about. */
  mode: LookupMode;
  /** The patch's rows come first. */
  overlayFirst: true;
  /** Id of the patch pack's rule set. */
  overlayRuleSetId: string;
  /** Id of the base pack's own rule set. */
  baseRuleSetId: string;
  /** The patch's rows, then the base's that the patch does not repeat word for word, each in pack order. */
  matches: OverlayLookupMatch[];
}

/**
 * Asks a base pack as it is seen through a patch.
 * @throws {TypeError} as `lookupBinaryIndex`
 * @throws {RangeError} an unknown section or mode
 * @throws {Error} a pack was refused, or the second is no patch
 */
export function lookupBinaryIndexOverlay(options: OverlayLookupOptions): OverlayLookupResult;

// --- evaluateWorkflowPolicy --------------------------------------------------------------------------------------

/**
 * A title and the scene that it gave. All six are optional; what is absent or no string counts as empty. Words of asset
 * handling are looked for as plain substrings, Chinese ones in `raw` and English ones in `normalizedEnglish`: `raw` is in
 * `strawberry`, `test` in `latest`, `file` in `profile`.
 */
export interface WorkflowPolicyOptions {
  /** The title as the user wrote it. */
  raw?: string | undefined;
  /** Its English reading, in lower case. */
  normalizedEnglish?: string | undefined;
  /** Key of the scene under judgement, compared as it stands. */
  sceneKey?: string | undefined;
  /** The alias that gave the scene, compared as it stands. */
  alias?: string | undefined;
  /** The scene's detail, compared as it stands. */
  detail?: string | undefined;
  /** Not empty while an override of the caller is in force: nothing is suppressed then. */
  overrideType?: string | undefined;
}

/** Why a scene is suppressed. */
export type WorkflowSuppressReason =
  | 'hard-workflow-suppressed-scene' | 'home-workflow-suppressed' | 'health-workflow-suppressed'
  | 'sport-data-workflow-suppressed' | 'food-workflow-suppressed' | 'business-workflow-suppressed';

/** Why a scene stands. */
export type WorkflowAllowReason =
  | 'override-bypass' | 'no-workflow-context' | 'home-title-token-allow' | 'health-title-token-allow'
  | 'sport-title-allow' | 'food-title-token-allow' | 'business-client-material-explicit-allow'
  | 'business-title-token-allow' | 'workflow-context-not-applicable';

/** Whether the scene of a title stands, and why. */
export type WorkflowPolicyResult = {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Version of the decisions. */
  policyContract: 'native-workflow-v1';
  /** The option, unchanged; so are the next three. */
  sceneKey: string;
  /** The alias that gave the scene. */
  alias: string;
  /** The scene's detail. */
  detail: string;
  /** The override in force, or "". */
  overrideType: string;
  /** The title speaks of files, footage, projects or the like. */
  hasAssetWorkflowContext: boolean;
  /** It does so in words that leave little doubt. */
  hasHardWorkflowContext: boolean;
} & (
  | {
    /** The title speaks of work on files: the scene should not be used. */
    suppressed: true;
    /** The rule that decided. */
    reason: WorkflowSuppressReason;
  }
  | {
    /** The scene stands. */
    suppressed: false;
    /** The rule that decided. */
    reason: WorkflowAllowReason;
  }
);

/**
 * Decides whether a title that gave a scene really speaks of handling assets. Reads no pack.
 * @throws {TypeError} the first argument is neither an object nor a function
 */
export function evaluateWorkflowPolicy(options: WorkflowPolicyOptions): WorkflowPolicyResult;

// --- extractSemanticFacets ---------------------------------------------------------------------------------------

/** A pack, and a title. */
export interface FacetOptions extends PackOptions, Title {}

/** One alias that stands in the title. */
export interface FacetHit {
  /** What kind of thing the facet says, such as `creator`. */
  dimension: string;
  /** Key of the facet inside its dimension. */
  facetKey: string;
  /** The row's term, as it stands in the title. */
  alias: string;
  /** Language tag of the row: `zh` or another value. */
  type: string;
  /** Characters (code points) before the alias, in the text in which it was found. */
  index: number;
  /** Characters of the alias. */
  len: number;
  /** Length, 0.4 a character or 0.6 for type `zh`, at most 8; plus the row's weight, any number. Higher is stronger. */
  score: number;
}

/** All hits of one facet. */
export interface FacetGroup {
  /** As in the hits. */
  dimension: string;
  /** As in the hits. */
  facetKey: string;
  /** Number of hits, 1 or more. */
  count: number;
  /** Sum of their scores. */
  score: number;
  /** Smallest `index` among them, be it in the title or in its English reading. */
  firstIndex: number;
}

/** The facets of a title. */
export interface FacetResult {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Version of the scores. */
  facetContract: 'native-facet-v1';
  /** In the order of the pack's rows, those of `raw` first. */
  hits: FacetHit[];
  /** In the order in which each facet was first found. */
  groups: FacetGroup[];
}

/**
 * Reports every facet whose alias stands literally in the title: same case, no blanks inside.
 * @throws {TypeError} as `inspectRulePack`; `normalizedEnglish` that is no string
 * @throws {Error} the pack was refused
 */
export function extractSemanticFacets(options: FacetOptions): FacetResult;

// --- resolveSceneIntent ------------------------------------------------------------------------------------------

/** A pack, and a title. */
export interface SceneIntentOptions extends PackOptions, Title {}

/** Data of the scene, from the row that decided. All are strings, the priority too. */
export interface SceneEntry {
  /** Key of the scene. */
  key: string;
  /** Detail that titles get which name the scene itself. */
  defaultDetail: string;
  /** Weight of the scene's aliases: a decimal number as text, "" if there is none. */
  priority: string;
  /** Name of the scene for people, in the language of the pack. */
  label: string;
  /** Name of the scene in archives. */
  archiveLabel: string;
  /** Short code of the scene in archives. */
  archiveCode: string;
  /** Name of an icon. */
  icon: string;
}

/** The row that decided. */
export interface IntentHit {
  /** Its term; for a phrase that speaks for the whole title, the compacted title. */
  alias: string;
  /** Its language: `zh` or `en`, "" for a row without one. */
  type: string;
  /** Key of the scene, as in the result. */
  sceneKey: string;
  /** The scene's detail, as in the result. */
  detail: string;
  /** How strong the row's kind is. 0 for a travel inference that no row gave. */
  rank: SceneRank;
  /**
   * How well the alias fits, higher is better among hits of one rank and length: earliness, 10 at the start of the title to
   * 0 from its eleventh character on; plus length, 0.9 (English) or 1.2 a character, at most 12; plus the row's weight, any
   * number. An alias that stands only in the English reading has the full 10 for earliness.
   */
  score: number;
  /** What the pack has to say about the scene. */
  entry: SceneEntry;
}

/** For a title without a scene `intentHit` is null and both strings are empty. */
export type SceneIntent =
  | {
    /** Key of the scene. */
    sceneKey: string;
    /** What of the scene the title speaks of; may be "". */
    sceneDetail: string;
    /** The row that decided. */
    intentHit: IntentHit;
  }
  | {
    /** No scene. */
    sceneKey: '';
    /** No detail. */
    sceneDetail: '';
    /** No row. */
    intentHit: null;
  };

/** The scene of one title. */
export type SceneIntentResult = {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Version of matching and scores. */
  sceneContract: 'native-scene-v1';
} & SceneIntent;

/**
 * Which scene one title is about, with which detail, and which alias decided. For more than a few titles use
 * `resolveSceneIntentBatch`, whose matching is stricter.
 * @throws {TypeError} as `inspectRulePack`; `normalizedEnglish` that is no string
 * @throws {Error} the pack was refused
 */
export function resolveSceneIntent(options: SceneIntentOptions): SceneIntentResult;

// --- resolveSceneIntentBatch -------------------------------------------------------------------------------------

/** A scene of the caller's own. A category without any alias is invisible. */
export interface SceneOverlayCategory {
  /** The scene's key, not empty; else the category is dropped. */
  key: string;
  /** Name of the scene for people. Default "", as for the next four. */
  label?: string | undefined;
  /** Name of the scene in archives. */
  archiveLabel?: string | undefined;
  /** Short code of the scene in archives. */
  archiveCode?: string | undefined;
  /** Name of an icon. */
  icon?: string | undefined;
  /** Detail that titles get which name the scene itself. */
  defaultDetail?: string | undefined;
  /** Weight of its aliases, any number; default 0. A number is kept with six decimals. */
  priority?: string | number | undefined;
  /** Aliases that are looked for in `raw`, whatever their script; so are `aliases` and `keywords`. */
  zh?: readonly string[] | undefined;
  /** More aliases that are looked for in `raw`. */
  aliases?: readonly string[] | undefined;
  /** More aliases that are looked for in `raw`. */
  keywords?: readonly string[] | undefined;
  /** Aliases that are looked for in `normalizedEnglish`, as whole words. */
  en?: readonly string[] | undefined;
  /** Finer descriptions inside the scene. */
  details?: readonly SceneOverlayDetail[] | undefined;
}

/** A finer description inside a scene of the caller's own. */
export interface SceneOverlayDetail {
  /** The detail, reported as `sceneDetail`. Default "". */
  label?: string | undefined;
  /** Aliases that are looked for in `raw`. */
  zh?: readonly string[] | undefined;
  /** Aliases that are looked for in `normalizedEnglish`, as whole words. */
  en?: readonly string[] | undefined;
}

/** Words that decide for a scene above its plain aliases. */
export interface SceneOverlayOverride {
  /** Key of the scene, not empty; else the override is dropped. */
  sceneKey: string;
  /** The detail, reported as `sceneDetail`. Default "". */
  detailLabel?: string | undefined;
  /** Aliases that are looked for in `raw`. */
  zh?: readonly string[] | undefined;
  /** Aliases that are looked for in `normalizedEnglish`, as whole words. */
  en?: readonly string[] | undefined;
}

/** Scenes of the caller's own. What can't be read is dropped without an error. */
export interface SceneOverlay {
  /** Scenes with their aliases. */
  categories?: readonly SceneOverlayCategory[] | undefined;
  /** Whole titles. Strongest. */
  shortTitleOverrides?: readonly SceneOverlayOverride[] | undefined;
  /** Weakest of the three, above plain aliases. */
  compoundOverrides?: readonly SceneOverlayOverride[] | undefined;
  /** Between the two. */
  conflictOverrides?: readonly SceneOverlayOverride[] | undefined;
}

/** A place: code, three positions that are not read, weight (default 0), label (default: the folded alias). */
export type LocationOverlayEntry = readonly [
  code: string, unused1?: unknown, unused2?: unknown, unused3?: unknown, weight?: number, label?: string,
];

/** Places of the caller's own, by alias. What can't be read is dropped without an error. */
export interface LocationOverlay {
  /** Aliases that are looked for in `raw`. */
  aliasesZh?: Readonly<Record<string, readonly LocationOverlayEntry[]>> | undefined;
  /** Aliases that are looked for in `normalizedEnglish`, as whole words. */
  aliasesEn?: Readonly<Record<string, readonly LocationOverlayEntry[]>> | undefined;
}

/** Packs, overlays and titles. */
export interface SceneIntentBatchOptions extends PackOptions, OverlayPackOptions {
  /** The titles, at most 10000. One bad case fails the whole call. */
  cases: readonly Title[];
  /** Scenes of the caller's own. */
  sceneOverlay?: SceneOverlay | undefined;
  /** Places of the caller's own. */
  locationOverlay?: LocationOverlay | undefined;
}

/** The row that decided about a place. */
export interface LocationHit {
  /** The row's label, not its term. */
  alias: string;
  /** The row's code: that of a country, or what the pack has in its place. */
  code: string;
  /** Characters before the term, in the title without its blanks; 9999 if it occurs nowhere literally. */
  index: number;
  /** The row's label. */
  label: string;
  /** Characters of the label. */
  len: number;
  /** Class of the row, such as `location-famous`, `location`, `location-db-native`, `location-db-en`. */
  source: string;
  /** The row's weight, any number; higher is more likely. 0 if the row has none that can be read. */
  weight: number;
}

/** The place that a title names. */
export interface LocationMeta {
  /** The primary code. */
  countryCode: string;
  /** The very array of `locationCodes`. */
  countryCodes: string[];
  /** Name of the country, in the language of the row. */
  countryLabel: string;
  /** Name of the place inside the country; may be empty. */
  locationLabel: string;
  /** "country · place", or the country alone. */
  shortLabel: string;
  /** Same as `shortLabel`. */
  fullLabel: string;
  /** The row that decided; null if only the country itself was named. */
  primaryHit: LocationHit | null;
}

/** Scene and place of one title. */
export type SceneIntentBatchCase = {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Version of matching and scores. */
  sceneContract: 'native-scene-v1';
  /** At most three codes, the most likely first. */
  locationCodes: string[];
  /** Null if no place was found. */
  locationMeta: LocationMeta | null;
} & SceneIntent;

/** Scenes and places of many titles. */
export interface SceneIntentBatchResult {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Version of matching and scores. */
  sceneContract: 'native-scene-v1';
  /** Number of cases. */
  count: number;
  /** One result for each case, at the same index. */
  results: SceneIntentBatchCase[];
}

/**
 * Scene, detail, place and travel inference of up to 10000 titles in one call.
 * @throws {TypeError} as `inspectRulePack`; `cases` that is no array; a case that is no object or has a bad title;
 *   `overlayPackPath` without `overlayAllowedRoot`
 * @throws {RangeError} more than 10000 cases
 * @throws {Error} a pack was refused
 */
export function resolveSceneIntentBatch(options: SceneIntentBatchOptions): SceneIntentBatchResult;

// --- resolveCelebrityBadgeBatch ----------------------------------------------------------------------------------

/** What a person is known as. Other words are allowed and count as an artist in general. */
export type CelebrityKind =
  | 'actor' | 'singer' | 'idol' | 'model' | 'adult' | 'creator' | 'influencer' | 'athlete' | (string & {});

/** A person of the caller's own. */
export interface CelebrityOverlayPerson {
  /** Not empty; else the person is dropped. */
  id: string;
  /** Display name and first alias, not empty. */
  name: string;
  /** What the person is known as; decides which badge is the default. */
  kind?: CelebrityKind | undefined;
  /** Region code, such as `JP`. Default "". */
  region?: string | undefined;
  /** Key of a portrait. Default "". */
  photoKey?: string | undefined;
  /** Kept with the row, a number with six decimals; decides nothing today. */
  priority?: string | number | undefined;
  /** Words that are reported with the person. */
  tags?: readonly string[] | undefined;
  /** Further aliases, under names that are free (language codes, for instance). */
  aliases?: Readonly<Record<string, readonly string[]>> | undefined;
}

/** A title. Everything is optional; what is absent or no string counts as empty. */
export interface CelebrityCase {
  /** The title as the library has it. Names are looked for in it without its blanks, activities as it stands. */
  raw?: string | undefined;
  /** Its English reading, in which names and activities are looked for too. */
  normalizedEnglish?: string | undefined;
  /** Anything but exactly `photo` counts as `video`. */
  mediaType?: 'photo' | 'video' | undefined;
}

/** Packs, an overlay and titles. */
export interface CelebrityBadgeBatchOptions extends PackOptions, OverlayPackOptions {
  /** The titles; there is no limit. */
  cases: readonly CelebrityCase[];
  /** People of the caller's own. What can't be read is dropped without an error. */
  celebrityOverlay?: readonly CelebrityOverlayPerson[] | undefined;
}

/** A person that a title names. */
export interface CelebrityHit {
  /** The person's id in the pack or overlay. */
  id: string;
  /** The person's display name. */
  name: string;
  /** Region code, or "". */
  region: string;
  /** What the person is known as, or "". */
  kind: CelebrityKind;
  /** Key of a portrait, or "". */
  photoKey: string;
  /** The longest alias of this person in the title, in folded form. */
  alias: string;
  /** `en` if the alias has only a to z, digits and blanks. */
  type: 'en' | 'zh';
  /** How the person was found. */
  sourceKind: 'alias';
  /** Position in `celebrityHits`. */
  index: number;
  /** Length of the alias in bytes of UTF-8. */
  len: number;
  /** The person's words of the pack or overlay. */
  tags: string[];
}

/** A badge that could be shown. */
export interface BadgeCandidate {
  /** The badge, a short Chinese label. */
  label: string;
  /** How sure the badge is: 54 (fits anybody) to 100 (the title says so). */
  score: number;
  /** What speaks for a badge at this place of the list. */
  reason:
    | 'default' | 'default-kind' | 'adult' | 'idol-fan' | 'fan' | 'explicit' | 'photo-airport' | 'photo-brand' | 'brand'
    | 'fashion';
}

/** The people of one title. With nobody named, `primaryCelebrity` is null and everything after it is empty. */
export type CelebrityBadgeCase = {
  /** Always true: a call that fails throws. */
  ok: true;
  /** What the badge was made for. */
  mediaType: 'photo' | 'video';
} & (
  | {
    /** The people that the title names, each once, the longest alias first. */
    celebrityHits: [CelebrityHit, ...CelebrityHit[]];
    /** The first of them. */
    primaryCelebrity: CelebrityHit;
    /** The first one's display name. */
    primaryLabel: string;
    /** Key of the first one's portrait, or "". */
    primaryPhotoKey: string;
    /** The proposed badge, a short Chinese label. */
    secondaryRawLabel: string;
    /** A more general badge of the same activity. */
    secondaryMediumFallbackLabel: string;
    /** The badge of the person's kind alone. */
    secondaryFallbackLabel: string;
    /** Same as `secondaryRawLabel`. */
    secondaryLabel: string;
    /** Always false: nothing falls back by itself. */
    secondaryUsedMediumFallback: false;
    /** Badges that could be shown, in a fixed order that is not always that of the scores. */
    secondaryCandidates: [BadgeCandidate, BadgeCandidate, ...BadgeCandidate[]];
    /** How sure the first candidate is: by its score, and by how far the second is behind. */
    secondaryConfidence: 0.99 | 0.96 | 0.9 | 0.78 | 0.64 | 0.52;
    /** The same in words: `high` from 0.9, `medium` from 0.64. */
    secondaryConfidenceLevel: 'high' | 'medium' | 'low';
  }
  | {
    /** Nobody. */
    celebrityHits: [];
    /** Nobody. */
    primaryCelebrity: null;
    /** Empty, as all labels. */
    primaryLabel: '';
    /** Empty. */
    primaryPhotoKey: '';
    /** Empty. */
    secondaryRawLabel: '';
    /** Empty. */
    secondaryMediumFallbackLabel: '';
    /** Empty. */
    secondaryFallbackLabel: '';
    /** Empty. */
    secondaryLabel: '';
    /** Always false. */
    secondaryUsedMediumFallback: false;
    /** Empty. */
    secondaryCandidates: [];
    /** 0: there is no badge. */
    secondaryConfidence: 0;
    /** Empty. */
    secondaryConfidenceLevel: '';
  }
);

/** The people of many titles. */
export interface CelebrityBadgeBatchResult {
  /** Always true: a call that fails throws. */
  ok: true;
  /** Number of cases. */
  count: number;
  /** One result for each case, at the same index. */
  results: CelebrityBadgeCase[];
}

/**
 * The people that titles name, and a badge for what the first of them is doing.
 * @throws {TypeError} as `inspectRulePack`; `cases` that is no array; `overlayPackPath` without `overlayAllowedRoot`
 * @throws {Error} a pack was refused
 */
export function resolveCelebrityBadgeBatch(options: CelebrityBadgeBatchOptions): CelebrityBadgeBatchResult;

// --- warmSemanticRulePack ----------------------------------------------------------------------------------------

/** The packs to load. */
export interface WarmOptions extends PackOptions, OverlayPackOptions {}

/** What was loaded. */
export interface WarmResult {
  /** Always true: a promise that fails is rejected. */
  ok: true;
  /** Who loaded it. */
  authority: 'native';
  /** The packs, and the places of both together, are in memory. */
  prewarmed: boolean;
}

/**
 * Loads a pack, and an overlay pack, on a worker thread, so that the first real call finds them in memory. The promise
 * is rejected with an `Error` if a pack was refused.
 * @throws {TypeError} at once, without a promise: as `inspectRulePack`; `overlayPackPath` that is no string;
 *   `overlayAllowedRoot` missing beside it
 */
export function warmSemanticRulePack(options: WarmOptions): Promise<WarmResult>;
