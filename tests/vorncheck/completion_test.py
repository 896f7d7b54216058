"""Completion in the shells."""

import os
import pathlib
import pty
import subprocess
import tty

import pytest
from checked import EMULATOR, SOURCE
from documents_test import KINDS, options_of_help

pytestmark = pytest.mark.skipif(bool(EMULATOR), reason="an emulator does not launch programs")

# In bash and zsh, the key ^T inserts all candidates, and ^G writes the line to a file.
SETTINGS = {
    "bash": """source "$SCRIPTS/vorncheck.bash"
        # The function of bash-completion, which loads the script.
        _command_offset() {
          local words=my_app
          [[ ${COMP_WORDS[$1]} != my_app ]] || words='--app-option rows.csv'
          mapfile -t COMPREPLY < <(compgen -W "$words" -- "${COMP_WORDS[-1]}")
        }
        bind '"\\C-t": insert-completions'
        bind -x '"\\C-g": echo "$READLINE_LINE" >line; exit'""",
    "zsh": """fpath=("$SCRIPTS" $fpath); autoload -Uz compinit vorncheck.zsh; compinit -D -u
        compdef vorncheck.zsh vorncheck
        _app() { _arguments --app-option '*:file:_files' }; compdef _app my_app
        zle -C insert-all complete-word _generic; bindkey '^T' insert-all
        zstyle ':completion:insert-all:*' completer _all_matches _complete
        zstyle ':completion:insert-all:*' insert yes
        write() { echo $BUFFER >line; exit }; zle -N write; bindkey '^G' write""",
    "fish": """source $SCRIPTS/vorncheck.fish
        complete --command my_app --long-option app-option
        complete -C "$LINE" >line""",
}


def at_terminal(shell, keys, **options):
    """Runs a shell that gets these keys, until it ends."""
    terminal, end = pty.openpty()
    tty.setraw(end)
    with subprocess.Popen(
        [shell, "-i"], stdin=end, stdout=end, stderr=end, start_new_session=True, **options
    ):
        os.close(end)
        os.write(terminal, keys.encode())
        try:
            while os.read(terminal, 4096):
                pass
        except OSError:  # the shell has ended
            os.close(terminal)


def candidates(shell, line, folder):
    """The candidates for the last word of a line."""
    path = f"{pathlib.Path(os.environ['VORNCHECK']).parent}:{folder}:{os.environ['PATH']}"
    options = {
        "cwd": folder,
        "env": {
            "HOME": str(folder),
            "LINE": line,
            "PATH": path,
            "SCRIPTS": str(SOURCE / "tools/vorncheck/completion"),
            "TERM": "dumb",
        },
    }
    if shell == "fish":
        subprocess.run([shell, "--no-config", "-c", SETTINGS[shell]], check=True, **options)
        return [entry.split("\t")[0] for entry in (folder / "line").read_text().splitlines()]
    (folder / f".{shell}rc").write_text(SETTINGS[shell])
    at_terminal(shell, f"{line}\x14\x07", **options)
    # zsh adds what the next word replaces.
    words = [word.rstrip("=,") for word in (folder / "line").read_text().split()]
    return words[line.count(" ") :]


@pytest.mark.parametrize("shell", SETTINGS)
def test_options(shell, tmp_path):
    found = candidates(shell, "vorncheck --", tmp_path)
    assert {name[2:] for name in found} == options_of_help()


@pytest.mark.parametrize("shell", SETTINGS)
@pytest.mark.parametrize(
    "line, expected",
    [
        ("--only ", set(KINDS)),
        ("--except=busy-wait,hid", {"--except=busy-wait,hidden-rows"}),
        ("--json r", {"rows.csv"}),
        ("--suppressions=r", {"--suppressions=rows.csv"}),
        ("my_a", {"my_app"}),
        ("--fatal --json=a --status 3 my_app --", {"--app-option"}),
        ("my_app r", {"rows.csv"}),
    ],
)
def test_candidates(shell, tmp_path, line, expected):
    (tmp_path / "rows.csv").touch()
    (tmp_path / "my_app").touch(mode=0o755)
    assert set(candidates(shell, f"vorncheck {line}", tmp_path)) == expected
