"""Drives the real programs inside a private desktop."""
