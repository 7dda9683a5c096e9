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

/** A second pack whose rows join those of the base pack. Its root is needed as soon as its path is not empty. */
export type OverlayPackOptions =
  | {
    /** Path of the second pack. Absent, null and the empty string mean that there is none. */
    overlayPackPath?: string | null;
    /** The approved root of the second pack. */
    overlayAllowedRoot: string;
  }
  | { overlayPackPath?: '' | null; overlayAllowedRoot?: string | null };

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
  ok: true;
  module: 'CorvendaSemantic';
  market: 'EN';
  contractVersion: 1;
  stage: 'native-stage-semantic-rule-pack-v1';
  /** File name of the native module. */
  binary: 'corvenda_semantic.node';
  /** The value of "schema" that a pack must have. */
  packSchema: 'corvenda.semantic-rule-pack.v1';
  packVersion: 1;
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
  ok: true;
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

export interface DeltaOptions extends PackOptions {
  /** The rule set that the patch must start from. */
  baseRuleSetId: string;
  /** The rule set that the patch must lead to; differs from `baseRuleSetId`. */
  ruleSetId: string;
}

/** A patch pack that is the expected one. */
export interface SemanticDeltaInfo extends Omit<RulePackInfo, 'schema' | 'kind'> {
  contract: 'native-semantic-delta-v1';
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

export interface DeltaManifestOptions extends DeltaOptions {
  /** Path of the signed manifest, 1 to 131072 bytes long, below `allowedRoot` like the pack. */
  manifestPath: string;
}

export interface DeltaManifestResult {
  ok: true;
  contract: 'native-semantic-delta-manifest-v1';
  baseRuleSetId: string;
  ruleSetId: string;
  /** SHA-256 of the pack file as it lies on disk: 64 lower-case hexadecimal digits. */
  packSha256: string;
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

export interface LookupQuery {
  /** The section to ask. `location` covers the rows of all location shards too. */
  section: Section;
  /** The text asked about, used as given: nothing is folded. Pack terms are lower case without blanks. */
  term: string;
  /** Default `exact`. If the property is there it must hold one of the two. */
  mode?: LookupMode;
}

export interface LookupOptions extends PackOptions, LookupQuery {}

/** A row that was found, scored as if it were a scene row. */
export interface LookupMatch {
  /** The row's own section; for `location` possibly a name that begins with `location-`. */
  section: string;
  term: string;
  /** All fields of the row. Every number in a row is text. */
  fields: string[];
  candidateRank: SceneRank;
  /** Field 3 of the row, "" if it has none: the kind of a scene row. */
  candidateType: string;
  /** Earliness + (length + weight) - penalty for a generic word; may be negative. */
  candidateScore: number;
  /** Score as a scene detail; 0 unless the row's kind is `detail`. */
  detailScore: number;
}

/** The matches of one scene, folded. */
export interface SceneCandidate {
  sceneKey: string;
  /** Detail of the strongest row: highest rank, then longest term. */
  detailLabel: string;
  bestRank: SceneRank;
  /** Number of rows of this scene. */
  candidateCount: number;
  bestDetailScore: number;
  /** The kinds of its rows, each once, in the order of `matches`. */
  candidateTypes: string[];
}

export interface LookupResult {
  ok: true;
  section: Section;
  term: string;
  mode: LookupMode;
  /** All rows, by rank, then length of the term, then field 0. Empty if none. */
  matches: LookupMatch[];
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

export interface OverlayLookupOptions extends LookupQuery {
  /** The base pack. */
  basePackPath: string;
  /** The patch laid over it; its kind must be `patch`. */
  overlayPackPath: string;
  /** The approved root of both packs. */
  allowedRoot: string;
}

export interface OverlayLookupMatch {
  section: string;
  term: string;
  /** Which pack the row came from. */
  source: 'overlay' | 'base';
  fields: string[];
}

export interface OverlayLookupResult {
  ok: true;
  contract: 'native-semantic-overlay-lookup-v1';
  section: Section;
  term: string;
  mode: LookupMode;
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

/** All six are optional; what is absent or no string counts as empty. */
export interface WorkflowPolicyOptions {
  /** The title as the user wrote it. */
  raw?: string;
  /** Its English form. */
  normalizedEnglish?: string;
  /** The scene under judgement. */
  sceneKey?: string;
  /** The alias that gave the scene. */
  alias?: string;
  /** The scene's detail. */
  detail?: string;
  /** Not empty while an override of the caller is in force: nothing is suppressed then. */
  overrideType?: string;
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

export type WorkflowPolicyResult = {
  ok: true;
  policyContract: 'native-workflow-v1';
  /** The option, unchanged; so are the next three. */
  sceneKey: string;
  alias: string;
  detail: string;
  overrideType: string;
  /** The title speaks of files, footage, projects or the like. */
  hasAssetWorkflowContext: boolean;
  /** It does so in words that leave little doubt. */
  hasHardWorkflowContext: boolean;
} & (
  | { suppressed: true; reason: WorkflowSuppressReason }
  | { suppressed: false; reason: WorkflowAllowReason }
);

/**
 * Decides whether a title that gave a scene really speaks of handling assets. Reads no pack.
 * @throws {TypeError} the first argument is neither an object nor a function
 */
export function evaluateWorkflowPolicy(options: WorkflowPolicyOptions): WorkflowPolicyResult;

// --- extractSemanticFacets ---------------------------------------------------------------------------------------

export interface FacetOptions extends PackOptions, Title {}

/** One alias that stands in the title. */
export interface FacetHit {
  dimension: string;
  facetKey: string;
  alias: string;
  /** Language tag of the row: `zh` or another value. */
  type: string;
  /** Characters (code points) before the alias, in the text in which it was found. */
  index: number;
  /** Characters of the alias. */
  len: number;
  score: number;
}

/** All hits of one facet. */
export interface FacetGroup {
  dimension: string;
  facetKey: string;
  /** Number of hits. */
  count: number;
  /** Sum of their scores. */
  score: number;
  /** Smallest `index` among them. */
  firstIndex: number;
}

export interface FacetResult {
  ok: true;
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

export interface SceneIntentOptions extends PackOptions, Title {}

/** Data of the scene, from the row that decided. All are strings, the priority too. */
export interface SceneEntry {
  key: string;
  defaultDetail: string;
  priority: string;
  label: string;
  archiveLabel: string;
  archiveCode: string;
  icon: string;
}

/** The row that decided. */
export interface IntentHit {
  /** Its term; for a phrase that speaks for the whole title, the compacted title. */
  alias: string;
  /** Its language: `zh` or `en`, "" for a row without one. */
  type: string;
  sceneKey: string;
  detail: string;
  /** 0 for a travel inference that no row gave. */
  rank: SceneRank;
  score: number;
  entry: SceneEntry;
}

/** For a title without a scene `intentHit` is null and both strings are empty. */
export type SceneIntent =
  | { sceneKey: string; sceneDetail: string; intentHit: IntentHit }
  | { sceneKey: ''; sceneDetail: ''; intentHit: null };

export type SceneIntentResult = { ok: true; sceneContract: 'native-scene-v1' } & SceneIntent;

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
  label?: string;
  archiveLabel?: string;
  archiveCode?: string;
  icon?: string;
  defaultDetail?: string;
  /** Weight of its aliases. A number is kept with six decimals. */
  priority?: string | number;
  /** Aliases that are looked for in `raw`, whatever their script; so are `aliases` and `keywords`. */
  zh?: readonly string[];
  aliases?: readonly string[];
  keywords?: readonly string[];
  /** Aliases that are looked for in `normalizedEnglish`, as whole words. */
  en?: readonly string[];
  /** Finer descriptions inside the scene. */
  details?: ReadonlyArray<{ label?: string; zh?: readonly string[]; en?: readonly string[] }>;
}

/** Words that decide for a scene above its plain aliases. */
export interface SceneOverlayOverride {
  /** Key of the scene, not empty; else the override is dropped. */
  sceneKey: string;
  detailLabel?: string;
  zh?: readonly string[];
  en?: readonly string[];
}

/** Scenes of the caller's own. What can't be read is dropped without an error. */
export interface SceneOverlay {
  categories?: readonly SceneOverlayCategory[];
  /** Whole titles. Strongest. */
  shortTitleOverrides?: readonly SceneOverlayOverride[];
  /** Weakest of the three, above plain aliases. */
  compoundOverrides?: readonly SceneOverlayOverride[];
  /** Between the two. */
  conflictOverrides?: readonly SceneOverlayOverride[];
}

/** A place: code, three positions that are not read, weight (default 0), label (default: the folded alias). */
export type LocationOverlayEntry = readonly [
  code: string, unused1?: unknown, unused2?: unknown, unused3?: unknown, weight?: number, label?: string,
];

/** Places of the caller's own, by alias. What can't be read is dropped without an error. */
export interface LocationOverlay {
  aliasesZh?: Readonly<Record<string, readonly LocationOverlayEntry[]>>;
  aliasesEn?: Readonly<Record<string, readonly LocationOverlayEntry[]>>;
}

export type SceneIntentBatchOptions = PackOptions & OverlayPackOptions & {
  /** The titles, at most 10000. One bad case fails the whole call. */
  cases: readonly Title[];
  sceneOverlay?: SceneOverlay;
  locationOverlay?: LocationOverlay;
};

/** The place that a title names. */
export interface LocationMeta {
  /** The primary code. */
  countryCode: string;
  /** The very array of `locationCodes`. */
  countryCodes: string[];
  countryLabel: string;
  /** Name of the place inside the country; may be empty. */
  locationLabel: string;
  /** "country · place", or the country alone. */
  shortLabel: string;
  /** Same as `shortLabel`. */
  fullLabel: string;
  /** The row that decided; null if only the country itself was named. */
  primaryHit: {
    /** The row's label, not its term. */
    alias: string;
    code: string;
    /** Characters before the term; 9999 if it occurs nowhere literally. */
    index: number;
    label: string;
    /** Characters of the label. */
    len: number;
    /** Class of the row, such as `location-famous`, `location`, `location-db-native`, `location-db-en`. */
    source: string;
    weight: number;
  } | null;
}

export type SceneIntentBatchCase = {
  ok: true;
  sceneContract: 'native-scene-v1';
  /** At most three codes, the most likely first. */
  locationCodes: string[];
  /** Null if no place was found. */
  locationMeta: LocationMeta | null;
} & SceneIntent;

export interface SceneIntentBatchResult {
  ok: true;
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
  kind?: CelebrityKind;
  region?: string;
  /** Key of a portrait. */
  photoKey?: string;
  priority?: string | number;
  tags?: readonly string[];
  /** Further aliases, under names that are free (language codes, for instance). */
  aliases?: Readonly<Record<string, readonly string[]>>;
}

/** Everything is optional; what is absent or no string counts as empty. */
export interface CelebrityCase {
  raw?: string;
  normalizedEnglish?: string;
  /** Anything but exactly `photo` counts as `video`. */
  mediaType?: 'photo' | 'video';
}

export type CelebrityBadgeBatchOptions = PackOptions & OverlayPackOptions & {
  /** The titles; there is no limit. */
  cases: readonly CelebrityCase[];
  /** What can't be read is dropped without an error. */
  celebrityOverlay?: readonly CelebrityOverlayPerson[];
};

export interface CelebrityHit {
  id: string;
  name: string;
  region: string;
  kind: CelebrityKind;
  photoKey: string;
  /** The longest alias of this person in the title, in folded form. */
  alias: string;
  /** `en` if the alias has only a to z, digits and blanks. */
  type: 'en' | 'zh';
  sourceKind: 'alias';
  /** Position in `celebrityHits`. */
  index: number;
  /** Length of the alias in bytes of UTF-8. */
  len: number;
  tags: string[];
}

export interface BadgeCandidate {
  /** The badge, a short Chinese label. */
  label: string;
  /** 54 to 100. */
  score: number;
  reason:
    | 'default' | 'default-kind' | 'adult' | 'idol-fan' | 'fan' | 'explicit' | 'photo-airport' | 'photo-brand' | 'brand'
    | 'fashion';
}

/** With nobody named, `primaryCelebrity` is null and everything after it is empty. */
export type CelebrityBadgeCase = { ok: true; mediaType: 'photo' | 'video' } & (
  | {
    /** The people that the title names, each once, the longest alias first. */
    celebrityHits: [CelebrityHit, ...CelebrityHit[]];
    primaryCelebrity: CelebrityHit;
    primaryLabel: string;
    primaryPhotoKey: string;
    /** The proposed badge. */
    secondaryRawLabel: string;
    /** A more general badge of the same activity. */
    secondaryMediumFallbackLabel: string;
    /** The badge of the person's kind alone. */
    secondaryFallbackLabel: string;
    /** Same as `secondaryRawLabel`. */
    secondaryLabel: string;
    secondaryUsedMediumFallback: false;
    /** In a fixed order that is not always that of the scores. */
    secondaryCandidates: [BadgeCandidate, BadgeCandidate, ...BadgeCandidate[]];
    secondaryConfidence: 0.99 | 0.96 | 0.9 | 0.78 | 0.64 | 0.52;
    secondaryConfidenceLevel: 'high' | 'medium' | 'low';
  }
  | {
    celebrityHits: [];
    primaryCelebrity: null;
    primaryLabel: '';
    primaryPhotoKey: '';
    secondaryRawLabel: '';
    secondaryMediumFallbackLabel: '';
    secondaryFallbackLabel: '';
    secondaryLabel: '';
    secondaryUsedMediumFallback: false;
    secondaryCandidates: [];
    secondaryConfidence: 0;
    secondaryConfidenceLevel: '';
  }
);

export interface CelebrityBadgeBatchResult {
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

export type WarmOptions = PackOptions & OverlayPackOptions;

export interface WarmResult {
  ok: true;
  authority: 'native';
  prewarmed: boolean;
}

/**
 * Loads a pack, and an overlay pack, on a worker thread, so that the first real call finds them in memory. The promise
 * is rejected with an `Error` if a pack was refused.
 * @throws {TypeError} at once, without a promise: as `inspectRulePack`; `overlayPackPath` that is no string;
 *   `overlayAllowedRoot` missing beside it
 */
export function warmSemanticRulePack(options: WarmOptions): Promise<WarmResult>;
