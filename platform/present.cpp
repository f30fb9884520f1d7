#include "present.h"

#include "alert/console.h"
#include "switched_function.h"

namespace platform
{
namespace
{
typedef SwitchedFunction<void(const Alert&)> Presenter;
Presenter& sPresenter = *new Presenter;
} // namespace

void Present(const Alert& alert)
{
    if (const auto presenter = sPresenter.Get())
        (*presenter)(alert);
    else
        PresentOnConsole(alert);
}

void SetAlertPresenter(const AlertPresenter& presenter)
{
    sPresenter.Set(presenter);
}
} // namespace platform
