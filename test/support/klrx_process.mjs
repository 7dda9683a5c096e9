// The command klrx in a process of its own, which can be killed: `node klrx_process.mjs ARGUMENT...`.
import { run } from '../../tools/commands/run.mjs';
import { addon, addonUrl } from './addon.mjs';

process.exitCode = await run(process.argv.slice(2), { out() {}, err() {}, loadAddon: async () => addon, addonUrl });
