#!/bin/sh
# needs_nothing_of.sh --provided-by <shared library>... --needed-by <library>...
# Fails, listing the symbols, where one of the latter has an undefined symbol that one of the former defines.
set -eu

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

names() { sed 's/@.*//' | sort -u; }

list=
for argument in "$@"; do
  case $argument in
    --provided-by | --needed-by) list=${argument#--} ;;
    *)
      case $list in
        provided-by) nm --dynamic --defined-only --format=just-symbols "$argument" >>"$work/provided" ;;
        needed-by) case $argument in
          *.a) nm --undefined-only --format=just-symbols "$argument" >>"$work/needed" ;;
          *) nm --dynamic --undefined-only --format=just-symbols "$argument" >>"$work/needed" ;;
        esac ;;
        *) echo "unexpected argument: $argument" >&2; exit 2 ;;
      esac ;;
  esac
done

names <"$work/provided" >"$work/provided.names"
names <"$work/needed" >"$work/needed.names"
if ! [ -s "$work/provided.names" ] || ! [ -s "$work/needed.names" ]; then
  echo "no symbols read" >&2
  exit 2
fi
comm -12 "$work/provided.names" "$work/needed.names" >"$work/both"
if [ -s "$work/both" ]; then
  cat "$work/both"
  exit 1
fi
