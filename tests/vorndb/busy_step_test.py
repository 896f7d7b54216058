"""A file that becomes busy between a query's preparation and its rows. The library's result is
0 then, and no row is there."""

import os

import pytest

from conftest import environment


@pytest.mark.parametrize(
    "arguments", ["select contact --format csv", "export contact x.csv", "exists contact"]
)
def test_a_query_without_its_rows_fails(contacts, arguments):
    contacts.environment = environment(LD_PRELOAD=os.environ["BUSY_STEP"])
    message = "the result from app.db is not complete; the file stayed busy"
    contacts.fails(message, *arguments.split())
    assert contacts.files() == ["app.db"]


def test_a_table_that_cannot_be_looked_for_is_not_called_missing(tool):
    tool.environment = environment(LD_PRELOAD=os.environ["BUSY_STEP"])
    assert tool.done("create", "t", "a:TEXT", "b:TEXT") == ""
    assert tool.sql(".tables") == "t\n"
