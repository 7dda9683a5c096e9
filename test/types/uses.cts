// How a caller of the CommonJS entry writes it; compiled, never run. A line below `@ts-expect-error` must not compile.
import semantic = require('corvenda-semantic');

const pack: semantic.PackOptions = { packPath: 'a.klrx', allowedRoot: '.' };
const info = semantic.getSemanticInfo();
export const version: 1 = info.packVersion;

export const scene: string = semantic.resolveSceneIntent({ ...pack, raw: '海边日落' }).sceneKey;
// @ts-expect-error: the title is required
semantic.resolveSceneIntent(pack);
// @ts-expect-error: results are closed
semantic.inspectRulePack(pack).keyId;
// @ts-expect-error: the CommonJS entry has no default export
semantic.default;
