// Types of the friendly layer, written by hand and closed like those of the twelve functions, whose results it gives.
/// <reference lib="esnext.disposable" />
import type {
  CelebrityBadgeCase, CelebrityOverlayPerson, FacetResult, LocationMeta, LocationOverlay, RulePackInfo, SceneIntentBatchCase,
  SceneOverlay, WorkflowPolicyResult,
} from './index.cjs';

/** A file: a path, relative to the current folder or absolute, or a `file:` URL. */
export type FilePlace = string | FileUrl;

/** What a `URL` has. */
export interface FileUrl {
  /** The URL as text; begins with `file:`. */
  readonly href: string;
}

/** Where the packs are, and what the caller adds to them. */
export interface LexiconOptions {
  /** The base pack. */
  pack: FilePlace;
  /**
   * The folder that pack and patch must lie in once links are resolved: give one if their paths come from outside. Default:
   * the folder of each file.
   */
  root?: FilePlace | undefined;
  /** A second pack, whose scenes, places and people join those of the first. */
  patch?: FilePlace | null | undefined;
  /**
   * A folder for copies of packs that can't be opened where they lie: below a path with characters outside ASCII, or in an
   * asar archive. It is made if it isn't there; a copy is named by its digest and made once. Default: no copies, an error.
   */
  copyTo?: FilePlace | undefined;
  /** Scenes, places and people of the caller's own, copied when the lexicon is opened. */
  overlays?: LexiconOverlays | undefined;
  /** Makes the English reading of titles that come without one, in place of `englishReading`. Runs on the calling thread. */
  english?: ((raw: string) => string) | undefined;
  /** Threads, 1 or more; they are started as needed and end after 10 seconds without work. Default: the cores, at most 4. */
  threads?: number | undefined;
}

/** What the caller adds to the packs. What can't be read in it is dropped without an error. */
export interface LexiconOverlays {
  /** Scenes, for `resolve` and `policy`. */
  scenes?: SceneOverlay | undefined;
  /** Places, for `resolve`, `places` and `policy`. */
  places?: LocationOverlay | undefined;
  /** People, for `people`. */
  people?: readonly CelebrityOverlayPerson[] | undefined;
}

/** A title with more than its text. */
export interface LexiconTitle {
  /** The title as the library has it. Nothing is found in a blank one, nor in null. */
  raw: string | null | undefined;
  /** An English reading of the title: lower-case words separated by blanks. Default: made from `raw`. */
  normalizedEnglish?: string | null | undefined;
  /** What the title belongs to, for `people`. Default: `video`. */
  mediaType?: 'photo' | 'video' | null | undefined;
}

/** Titles: an array or any other iterable, also an asynchronous one, which is read as fast as answers come. */
export type Titles =
  | Iterable<string | LexiconTitle | null | undefined>
  | AsyncIterable<string | LexiconTitle | null | undefined>;

/** What an `AbortSignal` has. */
export interface AbortSignalLike {
  /** Whether the call is to end. */
  readonly aborted: boolean;
  /** What the promise is rejected with then. */
  readonly reason?: any;
  /** Throws the reason if the call is to end. */
  throwIfAborted(): void;
  /** Hears of the end. */
  addEventListener(type: 'abort', listener: () => void): void;
  /** Hears of it no longer. */
  removeEventListener(type: 'abort', listener: () => void): void;
}

/** How far a call is. */
export interface Progress {
  /** Titles answered so far. */
  done: number;
  /** Titles in all; `undefined` if the iterable doesn't tell. */
  total: number | undefined;
}

/** How a call is watched and ended. */
export interface AskOptions {
  /** Ends the call: the promise is rejected with its reason at once, what is under way on threads ends unheard. */
  signal?: AbortSignalLike | undefined;
  /** Called after every few hundred titles, on the calling thread. */
  onProgress?: ((progress: Progress) => void) | undefined;
}

/** The places of a title. */
export interface Places {
  /** At most three codes, the most likely first. */
  locationCodes: string[];
  /** Null if no place was found. */
  locationMeta: LocationMeta | null;
}

/** Codes of the errors of this layer. */
export type SemanticErrorCode =
  /** An option is wrong; a `TypeError`. */
  | 'ERR_SEMANTIC_OPTIONS'
  /** A title is neither string nor object, or holds no strings; a `TypeError` with `index`. */
  | 'ERR_SEMANTIC_TITLE'
  /** The pack was refused, in the native module's words; with `path`. */
  | 'ERR_SEMANTIC_PACK'
  /** The patch was refused, likewise. */
  | 'ERR_SEMANTIC_PATCH'
  /** A pack can't be opened where it lies, though it is there: give `copyTo`; with `path`. */
  | 'ERR_SEMANTIC_PATH'
  /** The copy of a pack could not be made; with `path` of the original. */
  | 'ERR_SEMANTIC_COPY'
  /** The lexicon was closed before the call. */
  | 'ERR_SEMANTIC_CLOSED'
  /** The native module could not be loaded; thrown when the package is imported. */
  | 'ERR_SEMANTIC_BINARY';

/** What is thrown, and what promises are rejected with; but a call that is aborted is rejected with the signal's reason. */
export interface SemanticError extends Error {
  /** What kind of error it is. */
  code: SemanticErrorCode;
  /** The file that it is about. */
  path?: string;
  /** The title that it is about, counted from 0. */
  index?: number;
}

/**
 * A pack, and perhaps a patch, ready for questions. Each question takes any number of titles and gives one answer for each,
 * in their order. The native module keeps one base pack and one patch in memory for the whole process: lexicons of
 * different packs work side by side, but load their packs anew whenever they take turns.
 */
export interface Lexicon {
  /** What the base pack is. */
  readonly info: RulePackInfo;
  /** Scene and place of each title, as `resolveSceneIntentBatch` says them. */
  resolve(titles: Titles, options?: AskOptions): Promise<SceneIntentBatchCase[]>;
  /** The people that each title names, as `resolveCelebrityBadgeBatch` says them. */
  people(titles: Titles, options?: AskOptions): Promise<CelebrityBadgeCase[]>;
  /** The facets of each title, as `extractSemanticFacets` says them. The patch has no part in them. */
  facets(titles: Titles, options?: AskOptions): Promise<FacetResult[]>;
  /** The places of each title alone. */
  places(titles: Titles, options?: AskOptions): Promise<Places[]>;
  /** Whether the scene of each title stands, as `evaluateWorkflowPolicy` says it of what `resolve` found. */
  policy(titles: Titles, options?: AskOptions): Promise<WorkflowPolicyResult[]>;
  /** Takes no more calls, lets those under way end, then ends the threads. A process ends without it too. */
  close(): Promise<void>;
  /** As `close`, without waiting. */
  [Symbol.dispose](): void;
  /** As `close`. */
  [Symbol.asyncDispose](): Promise<void>;
}

/**
 * Opens a pack, and a patch if one is given: both are loaded on a thread before the promise is kept.
 *
 * @example
 * const lexicon = await openLexicon({ pack: 'packs/sample.klrx' });
 * const [title] = await lexicon.resolve(['New York café vlog']);
 * console.log(title.sceneKey, title.locationMeta?.fullLabel);
 * await lexicon.close();
 * @throws {SemanticError} by way of the promise
 */
export function openLexicon(options: LexiconOptions): Promise<Lexicon>;

/**
 * An English reading of a title: its Latin words in lower case, separated by blanks. It translates nothing.
 *
 * | In the title | In the reading |
 * |---|---|
 * | capitals | lower case: `New York` → `new york` |
 * | letters with marks | without them: `café` → `cafe`, `Łódź` → `lodz`, `Straße` → `strasse`, `Ærø` → `aero` |
 * | full-width and other forms of letters and digits | the plain ones: `ＣＡＦＥ` → `cafe`, `①` → `1` |
 * | an apostrophe inside a word, also a curved one | stays, straight: `Rubik’s` → `rubik's` |
 * | an apostrophe elsewhere | a blank: `'Tokyo'` → `tokyo` |
 * | words in other scripts, beside Latin ones | `…`, so that the rest doesn't pass for the whole title: `东京vlog` → `… vlog` |
 * | all else: blanks of any kind, punctuation, `_`, `&`, emoji | one blank between words: `B&B_2024.mp4` → `b b 2024 mp4` |
 */
export function englishReading(text: string): string;
