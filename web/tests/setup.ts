import { webcrypto } from 'node:crypto';

// Debian's Node.js 18 has the browser's source of randomness, but not under its name.
globalThis.crypto ??= webcrypto as Crypto;
