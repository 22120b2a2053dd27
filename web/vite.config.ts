import { defineConfig } from 'vitest/config';

export default defineConfig({
    // Relative, so that the page works under any path of the relay.
    base: './',
    build: {
        outDir: 'dist',
        emptyOutDir: true,
        target: 'es2022',
        // No data: URLs: the page loads under a content security policy that allows its own origin only.
        assetsInlineLimit: 0,
        modulePreload: { polyfill: false },
    },
    test: {
        environment: 'node',
        include: ['tests/**/*.test.ts'],
        sequence: { shuffle: true },
        // Generous: a loaded machine is no fault.
        testTimeout: 60_000,
    },
});
