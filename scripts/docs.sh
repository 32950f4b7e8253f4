# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# The reference, as HTML and as manual pages.

make_docs() {
    need "${needs_docs[@]}"
    docs/reference/make.py . build/docs
    echo "To read a manual page:  man -M build/docs/man xstr_set"
}
