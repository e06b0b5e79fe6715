#!/usr/bin/env bash
# Doxygen's input filter (see docs/doxygen-filter.awk): puts a header into the
# group of its subsystem folder and turns its "//" comments into documentation.
file="$1"
case "$file" in
  */documents/*) group=documents ;;
  */foundation/*) group=foundation ;;
  */scheduler/*) group=scheduler ;;
  */transport/*) group=transport ;;
  */xml/*) group=xml ;;
  */application/*) group=application ;;
  */persistence/*) group=persistence ;;
  */devices/*) group=devices ;;
  *) group="" ;;
esac
case "$file" in
  *.h) exec awk -v group="$group" -f "$(dirname "$0")/../docs/doxygen-filter.awk" "$file" ;;
  *) exec cat "$file" ;;
esac
