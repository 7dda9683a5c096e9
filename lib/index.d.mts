// The same types under the module entry, which has a default export beside the names.
export * from './index.cjs';

import * as addon from './index.cjs';
declare const functions: Pick<typeof addon, Exclude<keyof typeof addon, 'default'>>;
export default functions;
