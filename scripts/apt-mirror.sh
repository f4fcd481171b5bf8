# The Debian mirror this machine's own apt uses, for the scripts that fetch
# packages with a private apt configuration (conformance.sh, lua54.sh,
# wine32.sh): they name only the suite they need and take the archive from
# here, so no mirror is written into the repository.
#
#   . scripts/apt-mirror.sh
#   mirror=$(apt_mirror) || fail "$mirror"
#
# apt_mirror prints the first URI of the main Debian archive (never the
# security archive) from /etc/apt/sources.list.d/debian.sources (deb822
# stanzas), or else from a deb line of /etc/apt/sources.list. When neither
# names one it prints the reason instead and returns 1. Run directly, the
# file prints the mirror.

APT_MIRROR_SOURCES=${APT_MIRROR_SOURCES:-/etc/apt/sources.list.d/debian.sources}
APT_MIRROR_LIST=${APT_MIRROR_LIST:-/etc/apt/sources.list}

# The first URI of the first enabled deb or deb-src stanza that is not the
# security archive's (its suites end in -security, or its URI does).
_apt_mirror_deb822() {
  awk 'BEGIN { RS = ""; FS = "\n" }
    {
      types = ""; uris = ""; suites = ""; enabled = "yes"; field = ""
      for (i = 1; i <= NF; i++) {
        line = $i
        if (line ~ /^#/) continue
        if (line ~ /^[ \t]/) {                        # a continued field
          if (field == "uris") uris = uris " " line
          else if (field == "suites") suites = suites " " line
          continue
        }
        colon = index(line, ":")
        if (colon == 0) continue
        field = tolower(substr(line, 1, colon - 1))
        value = substr(line, colon + 1)
        if (field == "types") types = value
        else if (field == "uris") uris = value
        else if (field == "suites") suites = value
        else if (field == "enabled") enabled = tolower(value)
      }
      gsub(/^[ \t]+|[ \t]+$/, "", enabled)
      if (enabled == "no") next
      if (types !~ /(^|[ \t])deb(-src)?([ \t]|$)/) next
      split(uris, u, /[ \t]+/)
      uri = u[1] != "" ? u[1] : u[2]
      if (uri == "" || uri ~ /-security\/?$/ || suites ~ /-security([ \t]|$)/) next
      print uri
      exit
    }' "$1"
}

# The URI of the first deb or deb-src line that is not the security
# archive's; options in brackets come before it.
_apt_mirror_list() {
  awk '$1 == "deb" || $1 == "deb-src" {
      i = 2
      if ($i ~ /^\[/) { while (i <= NF && $i !~ /\]$/) i++; i++ }
      uri = $i; suite = $(i + 1)
      if (uri == "" || uri ~ /-security\/?$/ || suite ~ /-security$/) next
      print uri
      exit
    }' "$1"
}

apt_mirror() {
  local uri=""
  if [ -r "$APT_MIRROR_SOURCES" ]; then
    uri=$(_apt_mirror_deb822 "$APT_MIRROR_SOURCES")
  fi
  if [ -z "$uri" ] && [ -r "$APT_MIRROR_LIST" ]; then
    uri=$(_apt_mirror_list "$APT_MIRROR_LIST")
  fi
  if [ -z "$uri" ]; then
    echo "no Debian mirror in this machine's apt sources ($APT_MIRROR_SOURCES," \
         "$APT_MIRROR_LIST): add the main archive there"
    return 1
  fi
  echo "${uri%/}"
}

if [ "${BASH_SOURCE[0]}" = "$0" ]; then
  apt_mirror
fi
