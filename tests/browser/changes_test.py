# SPDX-License-Identifier: Apache-2.0
"""What somebody changes with the page: creates, sets, resets, deletes, and thinks again."""

from selenium.webdriver.common.keys import Keys

from browser import PHONE, spread
from gateway import Gateway, create, newest, objects, until

NOISE = "SIM/1/NOISE"
TONE = "SIM/1/TONE"


def type_size(browser, text: str) -> None:
    """As a person does: what is typed stays when the next state comes."""
    browser.run(
        "const size = document.querySelector('.size-form input'); size.value = arguments[0];"
        "size.dispatchEvent(new Event('input', {bubbles: true}))",
        text,
    )


def create_average(browser, reading, size):
    browser.click("#create")
    browser.choose("#create-type", "Average")
    browser.choose("#create-input-0", reading)
    browser.run("document.querySelector('#create-size').value = arguments[0]", str(size))
    browser.click("#create-dialog button.main")


def test_an_average_is_created_set_and_settles(gateway, platform, browser, empty):
    browser.open(gateway.address, show=[NOISE])
    browser.wait_for_pictures(NOISE)
    create_average(browser, NOISE, 5)
    assert until(lambda: len(objects(platform)) == 1)
    name = newest(platform)
    browser.wait_for_pictures(name)
    type_size(browser, "40")
    browser.click(".size-form button", "Set")
    browser.until("return document.querySelector('#objects').textContent.includes('40 of 40')", limit=20)
    assert spread(browser, name) < 0.6 * spread(browser, NOISE)
    assert [(one["type"], one["size"]) for one in objects(platform)] == [("Average", 40)]


def test_what_was_made_comes_into_sight_on_a_phone(gateway, platform, browser, empty):
    browser.open(gateway.address, show=["SIM/1/VOLTAGE", "SIM/1/POWER", TONE], size=PHONE)
    browser.wait_for_pictures("SIM/1/VOLTAGE", "SIM/1/POWER", TONE)
    browser.run("window.told = ''; const notices = document.querySelector('#notices');"  # it goes after some seconds
                "new MutationObserver(() => { told += notices.textContent; }).observe(notices, {childList: true})")
    create_average(browser, "SIM/1/POWER", 5)
    assert until(lambda: len(objects(platform)) == 1)
    browser.wait_for_pictures(newest(platform))
    browser.until("const box = lumenar.panels.views.at(-1).panel.element.getBoundingClientRect();"
                  " return box.top < innerHeight / 2 && box.bottom > innerHeight / 4",
                  why="the panel of what was made is out of sight")
    assert "is made" in browser.run("return told")


def test_an_average_begins_anew_after_reset(gateway, platform, browser, empty):
    name = create(platform, "Average", NOISE)
    platform.mathctl("set", name, "SIZE", "99")
    browser.open(gateway.address, show=[name])
    browser.wait_for_pictures(name)
    assert until(lambda: objects(platform)[0]["filled"] == 99, 30)
    browser.click(browser.row(name) + " button", "Reset")
    assert until(lambda: objects(platform)[0]["filled"] < 99, 5)


def test_a_trace_is_normalised_to_its_average(gateway, browser, platform, empty):
    average = create(platform, "Average", TONE)
    browser.open(gateway.address, show=[TONE])
    browser.wait_for_pictures(TONE)
    browser.click("#create")
    browser.choose("#create-type", "RelativeSubtract")
    browser.choose("#create-input-0", TONE)
    browser.choose("#create-input-1", average)
    browser.click("#create-dialog button.main")
    assert until(lambda: len(objects(platform)) == 2)
    browser.wait_for_pictures(newest(platform))
    browser.until("const {values} = lumenar.panels.views.find((view) => view.name === arguments[0]).frame;"
                  " return values.some((value) => Math.abs(value) < 5)", newest(platform))


def test_only_inputs_that_fit_can_be_chosen(gateway, browser, empty):
    browser.open(gateway.address)
    browser.until("return lumenar.store.state !== null")
    browser.click("#create")
    browser.choose("#create-type", "Subtract")
    assert browser.run("return document.querySelector('#create-dialog button.main').disabled")
    browser.choose("#create-input-0", "SIM/1/VOLTAGE")
    browser.until("return document.querySelector('#create-input-1').options.length > 1")
    offered = browser.run("return [...document.querySelector('#create-input-1').options].map((o) => o.value)")
    assert NOISE not in offered and "SIM/1/VOLTAGE" in offered


def test_a_value_that_is_refused_is_said_in_a_sentence(gateway, browser):
    browser.open(gateway.address)
    row = browser.row("SIM/1/START")
    browser.until("return document.querySelector(arguments[0]) !== null", row)
    browser.run("document.querySelector(arguments[0]).value = '2000'", row + " input[type=text]")
    browser.click(row + " button", "Set")
    browser.until("return document.querySelector('.notice.error')?.textContent.length > 10")


def test_a_deletion_is_undone_within_five_seconds(gateway, platform, browser, empty):
    name = create(platform, "Peak", NOISE)
    browser.open(gateway.address, show=[name])
    browser.wait_for_pictures(name)
    row = browser.row(name)
    browser.click(row + " button", "Delete")
    assert "will be deleted" in browser.text(row)
    browser.click(".notice button", "Undo")
    assert "will be deleted" not in browser.text(row)
    browser.click(row + " button", "Delete")
    browser.until("return document.querySelector(arguments[0]) === null", row, limit=12)
    assert objects(platform) == []


def test_what_was_deleted_here_leaves_the_picture(gateway, platform, browser, empty):
    name = create(platform, "Peak", NOISE)
    browser.open(gateway.address, show=[NOISE, name])
    browser.wait_for_pictures(NOISE, name)
    browser.click(browser.row(name) + " button", "Delete")
    browser.until("return lumenar.panels.views.length === 1", limit=12)
    assert browser.run("return document.querySelector('#missing').hidden")
    assert browser.run("return lumenar.store.shown") == [NOISE]


def test_what_somebody_else_deleted_can_be_taken_away(gateway, platform, browser, empty):
    name = create(platform, "Peak", NOISE)
    browser.open(gateway.address, show=[NOISE, name])
    browser.wait_for_pictures(NOISE, name)
    platform.mathctl("delete", name)
    browser.until("return document.querySelector('#missing').textContent.includes(arguments[0])", name)
    browser.click("#forget")
    assert browser.run("return lumenar.store.shown") == [NOISE]
    assert browser.run("return document.querySelector('#missing').hidden")


def test_a_deletion_is_taken_back_by_the_button_that_began_it(gateway, platform, browser, empty):
    name = create(platform, "Peak", NOISE)
    browser.open(gateway.address, show=[name])
    browser.wait_for_pictures(name)
    browser.click(browser.row(name) + " button", "Delete")
    assert browser.run("return document.activeElement.textContent") == "Undo", "the focus stays where it was"
    browser.press(Keys.ENTER)
    assert browser.run("return document.activeElement.textContent") == "Delete"
    assert browser.run("return document.querySelectorAll('.notice').length") == 0
    assert len(objects(platform)) == 1


def test_an_undone_deletion_stays_undone(gateway, platform, browser, empty):
    name = create(platform, "Peak", NOISE)
    browser.open(gateway.address, show=[name])
    browser.wait_for_pictures(name)
    browser.click(browser.row(name) + " button", "Delete")
    browser.click(".notice button", "Undo")
    browser.run("window.begun = performance.now()")
    browser.until("return performance.now() - window.begun > 6000", limit=20)
    assert len(objects(platform)) == 1


def test_without_the_right_nothing_can_be_changed(platform, browser, empty):
    name = create(platform, "Average", NOISE)
    reader = Gateway(platform, name="math_web_reader")
    browser.open(reader.address, show=[name])
    browser.wait_for_pictures(name)
    browser.until("return document.querySelector('#rights').textContent === 'read only'")
    words = browser.run("return [...document.querySelectorAll('aside button')]"
                        ".filter((one) => one.checkVisibility()).map((one) => one.textContent)")
    assert words == ["Save set"]
    browser.press("n")
    assert not browser.run("return document.querySelector('#create-dialog').open")
