import { expect, it } from 'vitest';
import { StackModeWish } from '../../../src/panes/treegrid/stack_mode_wish.js';

it('the wished stack mode outlives the page, and is told to every host', () => {
    const kept = new Map<string, string>();
    const store = {
        getItem: (key: string) => kept.get(key) ?? null,
        setItem: (key: string, value: string) => void kept.set(key, value),
    };
    const wish = new StackModeWish(store, 'g');
    const look = () => [wish.mode, wish.isUntold];
    expect(look()).toEqual(['tree', false]);
    wish.set('chain');
    expect(look()).toEqual(['chain', true]);
    wish.setTold('chain');
    expect(look()).toEqual(['chain', false]);
    wish.set('tree');
    wish.takeBack();
    expect(look()).toEqual(['chain', true]);
    wish.setTold('chain');
    wish.forgetTold();
    expect(look()).toEqual(['chain', true]);
    wish.takeBack();
    expect(look()).toEqual(['tree', true]);
    wish.set('chain');
    const reloaded = new StackModeWish(store, 'g');
    expect([reloaded.mode, reloaded.isUntold]).toEqual(['chain', true]);
    expect(new StackModeWish(store, 'other').isUntold).toBe(false);
});
