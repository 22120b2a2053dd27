"""Conversation scripts: short text files that are spoken to the real host over its real connection."""
