// SPDX-License-Identifier: Apache-2.0
#include "python/src/PublicationPart.h"

#include <utility>

namespace Lumenar::Python {

std::shared_ptr<PublicationPart> PublicationPart::Open(Session& session, const std::string& name,
                                                       Corvanta::SampleRecord&& first) {
  const auto slash = name.rfind('/');
  if (slash == std::string::npos) {
    throw Client::Error(Client::ErrorKind::BadArgument,
                        "\"" + name + "\" is no name to publish under: it is as MYLAB/1/BASELINE");
  }
  const auto state = std::make_shared<State>();
  state->connection = session.Use();
  state->engine = session.EngineNamed(name.substr(0, slash));
  state->reading = std::make_unique<Client::OwnReading>(state->engine, name.substr(slash + 1), std::move(first));
  const std::shared_ptr<PublicationPart> part(new PublicationPart(state));
  session.Adopt(part);
  return part;
}

void PublicationPart::Publish(Corvanta::SampleRecord&& sample) const {
  ProcessMark::RequireOwn();
  const auto state = state_.Get();
  if (!state) throw Client::Error(Client::ErrorKind::BadArgument, name_ + ": is not published any more");
  state->reading->Publish(std::move(sample));
}

}  // namespace Lumenar::Python
