# SPDX-FileCopyrightText: 2026 the libzol authors
# SPDX-License-Identifier: MIT
# A page in Markdown as Doxygen reads it. The lines about the licence come before its title.
/^<!-- SPDX-/d
# Links to public headers lead to what is made of them; those to other files of the tree, and to
# headings, whose names Doxygen makes otherwise, to nothing.
s|\](\.\./[^)]*/\([a-z]*\.h\))|](@ref \1)|g
s|\[\([^]]*\)\](\.\./[^)]*)|\1|g
s|\[\([^]]*\)\](packaging/[^)]*)|\1|g
s|\[\([^]]*\)\](#[^)]*)|\1|g
