// A server for one page on this machine. Other pages in the same browser can send requests to 127.0.0.1 too, and a name of
// theirs can be made to lead there; they know neither the token in the address nor may they use another Host or Origin.

import { createHash, randomBytes, timingSafeEqual } from 'node:crypto';
import { createServer } from 'node:http';

/** @typedef {(query: URLSearchParams, response: import('node:http').ServerResponse) => void} Handler answers a request */

const HEADERS = {
  'cache-control': 'no-store',
  'cross-origin-resource-policy': 'same-origin',
  'referrer-policy': 'no-referrer', // the token is in the address
  'x-content-type-options': 'nosniff',
};

const digest = (text) => createHash('sha256').update(text).digest();
const isSame = (a, b) => timingSafeEqual(digest(a), digest(b));

/**
 * @param {number} port 0 for a free one
 * @param {Record<string, Handler>} handlers by the last part of the path; that of the page is ""
 * @returns {Promise<{ url: string, close: () => Promise<void> }>}
 */
export async function servePage(port, handlers) {
  const token = randomBytes(18).toString('base64url');
  const server = createServer((request, response) => {
    const { port: actual } = /** @type {import('node:net').AddressInfo} */ (server.address());
    const hosts = [`127.0.0.1:${actual}`, `localhost:${actual}`];
    const { host = '', origin } = request.headers;
    for (const [name, value] of Object.entries(HEADERS)) response.setHeader(name, value);
    const refuse = (status) => { response.statusCode = status; response.end(); };
    if (!hosts.includes(host) || (origin !== undefined && !hosts.some((own) => origin === `http://${own}`))) return refuse(403);
    const { pathname, searchParams } = new URL(request.url ?? '', 'http://host');
    const [, given = '', name = '', ...more] = pathname.split('/');
    if (!isSame(given, token) || more.length > 0 || !Object.hasOwn(handlers, name)) return refuse(404);
    if (request.method !== 'GET') return refuse(405);
    return handlers[name](searchParams, response);
  });
  await new Promise((resolve, reject) => {
    server.once('error', reject).listen(port, '127.0.0.1', () => resolve(undefined));
  });
  return {
    url: `http://127.0.0.1:${/** @type {import('node:net').AddressInfo} */ (server.address()).port}/${token}/`,
    close: () => new Promise((resolve) => {
      server.close(() => resolve(undefined));
      server.closeAllConnections();
    }),
  };
}

/**
 * @param {import('node:http').ServerResponse} response
 * @param {unknown} value
 */
export function sendJson(response, value) {
  response.setHeader('content-type', 'application/json; charset=utf-8');
  response.end(JSON.stringify(value));
}
