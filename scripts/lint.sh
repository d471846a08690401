#!/bin/sh
# Static checks, clean or failing: the repository's .clang-format over every C++ source of
# src/ and tests/, clang-tidy with the repository's .clang-tidy over every source of src/
# (two at a time, from the compile_commands.json of the build directory given, default
# build-asan), shellcheck over every shell script, and ansible-doc, which must render the
# documentation of the Ansible collection's module by its full name (the collection's
# source directory seen through a collections path of its own).
set -eu
cd "$(dirname "$0")/.."
BUILD=${1:-${BUILD_DIR:-build-asan}}
[ -f "$BUILD/compile_commands.json" ] || { echo "lint: no $BUILD/compile_commands.json" >&2; exit 1; }
JOBS=${LINT_JOBS:-$(nproc)}
echo "lint: clang-format"
find src tests -name '*.cpp' -o -name '*.hpp' -o -name '*.c' | sort | xargs clang-format --dry-run -Werror
echo "lint: clang-tidy"
find src -name '*.cpp' | sort | xargs -P "$JOBS" -n 4 clang-tidy -p "$BUILD" --quiet --extra-arg=-Wno-unknown-warning-option
echo "lint: shellcheck"
shellcheck -x -s bash tests/cli/helpers.bash
shellcheck -x bench/* scripts/*.sh completion/orvconfig .ci/run tests/reliability/*.sh tests/cli/*.sh tests/hermetic.sh
echo "lint: ansible-doc"
collections=$(mktemp -d "${TMPDIR:-/tmp}/orv-lint.XXXXXX")
trap 'rm -rf "$collections"' EXIT
mkdir -p "$collections/ansible_collections/orvconfig"
ln -s "$PWD/contrib/ansible" "$collections/ansible_collections/orvconfig/cluster"
# ansible-doc exits 0 with a warning for a module it cannot find: its title line is checked.
title=$(ANSIBLE_COLLECTIONS_PATH=$collections ANSIBLE_HOME=$collections/home \
    ansible-doc -t module orvconfig.cluster.orvconfig | sed -n 's/^> \([^ ]*\) .*/\1/p')
[ "$title" = ORVCONFIG.CLUSTER.ORVCONFIG ] || { echo "lint: ansible-doc renders no orvconfig.cluster.orvconfig" >&2; exit 1; }
echo "lint: clean"
